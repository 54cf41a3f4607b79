#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Array.h"
#include "base/AtomicProperty.h"
#include "base/Dictionary.h"
#include "base/Export.h"
#include "smc/QXSMCInterface.h"

namespace halvarin {

/// The library's facade: the machine's sensors by category, described and judged by the sensor
/// database that travels in the library. Any thread; a reading blocks for one transfer per key.
///
/// Key records, the arrays that hold them and the database are shared: every reading updates the
/// records in place, and a host that keeps them sees the change. Absent properties are null.
class HALVARIN_EXPORT QXHalvarin : public std::enable_shared_from_this<QXHalvarin> {
 public:
  /// The process's instance, made at the first call and kept for ever; callers that come meanwhile
  /// wait. Null for ever when the sensor database could not be had.
  [[nodiscard]] static std::shared_ptr<QXHalvarin> sharedHalvarin();

  /// A new facade on the shared connection; null when the sensor database cannot be deciphered or
  /// is no property list. Hosts use `sharedHalvarin`.
  [[nodiscard]] static std::shared_ptr<QXHalvarin> init();

  QXHalvarin(const QXHalvarin&) = delete;
  QXHalvarin& operator=(const QXHalvarin&) = delete;

  /// Takes the machine's model, its sensor table and a fresh reading of all keys, and sorts the
  /// keys into the categories. May be called again: the four properties are replaced, the records
  /// stay the same objects. Costs one transfer per key.
  void initializeSensorKeys();

  /// The records of `smcKeys` whose key matches a pattern ("T???"), in that order, after the
  /// database's description, unit and limits were copied into each. With `withDescription` only
  /// those that have a description.
  [[nodiscard]] ArrayRef getSMCKeysLike(std::string_view pattern, bool withDescription);

  /// Reads, decodes and judges every key of a category ("temperature", "voltage", "current",
  /// "power", "light", "motion", "magnetic", "calibration", "fans"), and returns the array of
  /// `sensorKeys` itself; null for an unknown category. Without a category: all keys of the
  /// controller, in a new array, never on mains, with a log line for each key of type "ui32".
  /// `ACpwr` says whether limits that hold on mains power only are applied.
  ArrayRef readSensorsOfType(std::optional<std::string_view> type, bool ACpwr);

  /// The names of all sensors of all models of the sensor database, by the category that they are
  /// shown in ("Temperature", "Motion", "Light"): a new dictionary of arrays of texts, each text
  /// once, sorted for people. Empty without a database. Asks no controller.
  [[nodiscard]] DictionaryRef categorizedListOfDescriptors() const;

  /// Starts `readSensors` on a new background thread and returns at once. Requests are not merged:
  /// each makes its own pass and its own notification, in the order in which the passes finish.
  void requestSensorUpdate();

  /// One update pass on the calling thread: reads the fans, then temperatures, voltages, currents,
  /// powers and light, and hands the result to `updateNotifications` on the main thread without
  /// waiting for it. Failed readings show inside the records; the pass always notifies. A host
  /// whose main thread does not run (platform/MainThread.h) receives nothing.
  void readSensors();

  /// Posts `kSensorUpdateNotify` (sensors/SensorUpdate.h) with this facade as the sender. Meant for
  /// the main thread.
  void updateNotifications(DictionaryRef userInfo);

  /// The platform's name of what feeds the machine now, "AC Power" or "Battery Power"; "AC Power"
  /// where the platform has no name for it.
  [[nodiscard]] std::string powerSource() const;

  /// The character that names a fan in its keys: 0 to 9, then A and on. There is no last one.
  [[nodiscard]] std::string fanNum(std::uint32_t fan) const;

  /// Reads the temperatures, never on mains, and returns their records in a new array, hottest
  /// first; readings that failed come before all others.
  [[nodiscard]] ArrayRef readTemps();

  /// Reads the temperatures and the fans and returns a new dictionary for each fan
  /// (sensors/FanRecord.h), in index order; empty on machines without fans. A key that is missing
  /// counts as 0. Costs a transfer per temperature and fan key.
  [[nodiscard]] ArrayRef readFans();

  // The three fan commands return true only when a write was made and succeeded; in every other
  // case (no such fan, no such key, a type that carries no speed, a failed write) false. Nothing is
  // read back. A fan stays as it was commanded until it is commanded again: whoever forces one
  // hands it back with mode 0.

  /// Switches the machine-wide flag that some machines want on before a fan is forced.
  [[nodiscard]] bool setFanEnable(bool enable);
  /// Forces a fan (any mode but 0) or hands it back to automatic control (0).
  [[nodiscard]] bool setFanMode(signed char mode, std::uint32_t fan);
  /// Sets a fan's target in RPM. Deliberate: its limits are not looked at, and fixed-point keys
  /// drop the high bits of speeds above 16383.
  [[nodiscard]] bool setFanSpeed(std::uint16_t speed, std::uint32_t fan);

  /// Dispatches an empty work item for each logical processor but one to a concurrent queue and
  /// returns at once; does nothing when `start` is false. Deliberate: no lasting load.
  void loadCPUcores(bool start);

  /// The machine's model identifier, "MacBookPro15,1"; "" when it cannot be read or has more than
  /// 24 characters.
  [[nodiscard]] std::string readMachineModel() const;

  /// The number of logical processors; 0 when it cannot be read.
  [[nodiscard]] std::int32_t numberLogicalCPUs() const;

  /// The place of a character in the controller's digits "0" to "h" (0 to 17), else 0.
  [[nodiscard]] int valueHex(signed char character) const;

  /// The model identifier, "" when it could not be read.
  [[nodiscard]] std::string machineModel() const { return machineModel_.get(); }
  void setMachineModel(std::string value) { machineModel_.set(std::move(value)); }

  /// The whole sensor database: model -> "Sensors" -> key -> descriptor.
  [[nodiscard]] DictionaryRef mainSensorDict() const { return mainSensorDict_.get(); }
  void setMainSensorDict(DictionaryRef value) { mainSensorDict_.set(std::move(value)); }

  /// Category name -> array of key records; all nine, some of them empty.
  [[nodiscard]] DictionaryRef sensorKeys() const { return sensorKeys_.get(); }
  void setSensorKeys(DictionaryRef value) { sensorKeys_.set(std::move(value)); }

  /// This model's sensor table, key -> descriptor; null when the database does not know the model.
  [[nodiscard]] DictionaryRef sensorDict() const { return sensorDict_.get(); }
  void setSensorDict(DictionaryRef value) { sensorDict_.set(std::move(value)); }

  /// Every key record, in index order.
  [[nodiscard]] ArrayRef smcKeys() const { return smcKeys_.get(); }
  void setSmcKeys(ArrayRef value) { smcKeys_.set(std::move(value)); }

  /// Never filled or read by the library.
  [[nodiscard]] DictionaryRef fanKeys() const { return fanKeys_.get(); }
  void setFanKeys(DictionaryRef value) { fanKeys_.set(std::move(value)); }

 private:
  QXHalvarin() = default;

  AtomicProperty<std::string> machineModel_;
  AtomicProperty<DictionaryRef> mainSensorDict_;
  AtomicProperty<DictionaryRef> sensorKeys_;
  AtomicProperty<DictionaryRef> sensorDict_;
  AtomicProperty<ArrayRef> smcKeys_;
  AtomicProperty<DictionaryRef> fanKeys_;
  std::shared_ptr<QXSMCInterface> smc_;  // null on a machine without a controller
};

}  // namespace halvarin
