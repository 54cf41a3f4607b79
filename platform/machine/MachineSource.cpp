#include "platform/machine/MachineSource.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/machine/BuiltInMachine.h"
#include "platform/machine/SimulatedMachine.h"
#include "platform/machine/ThisComputer.h"
#include "platform/machine/remote/RemoteMachine.h"

namespace halvarin::platform {

namespace {

using Kind = MachineSource::Kind;

std::string listedModels() {
  std::string text;
  for (const std::string& model : builtInModels()) {
    text += (text.empty() ? "" : ", ") + model;
  }
  return text;
}

bool isBuiltIn(std::string_view model) {
  const std::vector<std::string> models = builtInModels();
  return std::find(models.begin(), models.end(), model) != models.end();
}

/// What follows a prefix; "" for a text without the prefix, and for one with nothing behind it.
std::string rest(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix ? std::string(text.substr(prefix.size()))
                                                 : std::string();
}

std::string formFault(std::string_view text, std::string_view holder) {
  return std::string(holder) + " takes this, simulated, simulated:MODEL (" + listedModels() +
         "), file:PATH or socket:PATH, not \"" + std::string(text) + "\"";
}

std::variant<std::shared_ptr<Machine>, std::string> servedMachine(const std::string& path) {
  auto connected = RemoteMachine::connect(path);
  if (auto* fault = std::get_if<std::string>(&connected)) {
    return std::move(*fault);
  }
  return std::get<std::shared_ptr<RemoteMachine>>(std::move(connected));
}

}  // namespace

std::variant<MachineSource, std::string> parseMachineSource(std::string_view text,
                                                            std::string_view holder) {
  constexpr std::string_view kSimulated = "simulated:";
  if (text == "this") {
    return MachineSource{};
  }
  if (text == "simulated") {
    return MachineSource{Kind::simulated, {}, builtInModels().front()};
  }
  if (std::string path = rest(text, "file:"); !path.empty()) {
    return MachineSource{Kind::file, std::move(path), {}};
  }
  if (std::string path = rest(text, "socket:"); !path.empty()) {
    return MachineSource{Kind::socket, std::move(path), {}};
  }
  if (text.substr(0, kSimulated.size()) != kSimulated) {
    return formFault(text, holder);
  }
  std::string model = rest(text, kSimulated);
  if (!isBuiltIn(model)) {
    return std::string(holder) + ": there is no built-in machine \"" + model +
           "\"; there are: " + listedModels();
  }
  return MachineSource{Kind::simulated, {}, std::move(model)};
}

std::variant<RecordedMachine, std::string> recordedMachine(const MachineSource& source) {
  if (source.kind == Kind::simulated) {
    return builtInMachine(source.model).value();
  }
  auto read = readMachineFile(source.path);
  if (const auto* error = std::get_if<MachineFileError>(&read)) {
    return error->message();
  }
  return std::get<RecordedMachine>(std::move(read));
}

std::variant<std::shared_ptr<Machine>, std::string> openMachine(const MachineSource& source) {
  if (source.kind == Kind::thisComputer) {
    return thisComputer();
  }
  if (source.kind == Kind::socket) {
    return servedMachine(source.path);
  }
  auto recorded = recordedMachine(source);
  if (auto* fault = std::get_if<std::string>(&recorded)) {
    return std::move(*fault);
  }
  Simulation simulation;
  simulation.readingsMove = source.kind == Kind::simulated;
  return std::make_shared<SimulatedMachine>(std::get<RecordedMachine>(std::move(recorded)),
                                            std::move(simulation));
}

}  // namespace halvarin::platform
