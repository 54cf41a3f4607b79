#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/Array.h"
#include "base/AtomicProperty.h"
#include "base/Dictionary.h"
#include "base/Export.h"
#include "base/NotificationCenter.h"
#include "base/Value.h"

namespace halvarin {

/// The library's only door to the System Management Controller: one connection for the process, the
/// table of key records, reads into the records, and writes. When the host ends it hands forced
/// fans back to automatic control. Any thread; reads and writes block for their transfers.
class HALVARIN_EXPORT QXSMCInterface : public std::enable_shared_from_this<QXSMCInterface> {
 public:
  /// The process's instance, made at the first call and kept for ever; null for ever when the
  /// machine had no controller then.
  [[nodiscard]] static std::shared_ptr<QXSMCInterface> sharedSMC();

  /// A new instance on a new shared connection, its keys listed; null when no `AppleSMC` service
  /// exists. A connection that cannot be opened is not reported: the key table is empty then.
  [[nodiscard]] static std::shared_ptr<QXSMCInterface> init();

  /// Ends the registration for the host's end; the shared connection stays open.
  ~QXSMCInterface();
  QXSMCInterface(const QXSMCInterface&) = delete;
  QXSMCInterface& operator=(const QXSMCInterface&) = delete;

  /// A new key record without "index", asked from the controller (one transfer). Empty when the
  /// text has not exactly four characters (no transfer) or the transfer fails.
  [[nodiscard]] DictionaryRef getInfoSMCKey(std::string_view key);

  /// Reads a key into its record (one transfer) and returns that record, the object of `keyDict`.
  /// Null for a key that was not listed at start-up. After a failed transfer only "error" is new.
  DictionaryRef SMCReadKey(std::string_view key);

  /// Writes the low bytes of a value, most significant first, over a connection of its own and
  /// under the write lock. Size 2 and 4 carry that many bytes; any other size carries the lowest
  /// byte alone, while the request still names the size given. Returns 0, 5 (`KERN_FAILURE`) when
  /// the service or the connection is not to be had, or the platform's status. Key records stay as
  /// they are: read the key to see what it became.
  [[nodiscard]] std::int32_t SMCWriteKey(std::string_view key, std::uint32_t data,
                                         std::uint32_t size);

  /// Walks the controller's list of keys (two transfers per index) into a new table, key text to
  /// key record. Indices that fail are left out; empty when the count cannot be read.
  [[nodiscard]] DictionaryRef listSMCKeys();

  /// All records, in no defined order; no transfer.
  [[nodiscard]] ArrayRef listKeys() const;

  /// All records, each freshly read (one transfer per key), in the order of "index".
  ArrayRef listKeysWithData();

  /// What happens when the host ends: where a fan is forced, the force bits are cleared with one
  /// write; then the shared connection is closed and later reads fail.
  void close_service();

  /// Does nothing; kept for the clients that call it.
  void writeSMC() {}

  [[nodiscard]] DictionaryRef keyDict() const { return keyDict_.get(); }
  void setKeyDict(DictionaryRef value) { keyDict_.set(std::move(value)); }

  /// The host's auxiliary executable for privileged writes; recorded at start-up, not used further.
  [[nodiscard]] std::optional<std::string> writeTaskPath() const { return writeTaskPath_.get(); }
  void setWriteTaskPath(std::optional<std::string> value) { writeTaskPath_.set(std::move(value)); }

  /// Serialises all writes.
  [[nodiscard]] std::shared_ptr<Mutex> smcWriteLock() const { return smcWriteLock_.get(); }
  void setSmcWriteLock(std::shared_ptr<Mutex> value) { smcWriteLock_.set(std::move(value)); }

 private:
  QXSMCInterface() = default;
  [[nodiscard]] bool start();
  [[nodiscard]] Dictionary::Entries tableEntries() const;
  void observeTermination();
  [[nodiscard]] std::uint32_t readUnsigned(std::string_view key);

  AtomicProperty<DictionaryRef> keyDict_;
  AtomicProperty<std::optional<std::string>> writeTaskPath_;
  AtomicProperty<std::shared_ptr<Mutex>> smcWriteLock_;
  Value distObj_;  // always nothing; part of the interface's layout
  std::atomic<NotificationCenter::Token> terminationToken_ = 0;
};

}  // namespace halvarin
