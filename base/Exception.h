#pragma once

#include <exception>
#include <string>
#include <utility>

#include "base/Export.h"

namespace halvarin {

/// A fault inside a reading that ends the reading and is logged there, for example an access beyond
/// the end of a text. It leaves the library only from operations that say so: whoever reads catches
/// it.
class HALVARIN_EXPORT Exception : public std::exception {
 public:
  /// The name of an access outside a text, an array or data.
  static constexpr const char* kRange = "NSRangeException";
  /// The name of an argument of the wrong kind.
  static constexpr const char* kInvalidArgument = "NSInvalidArgumentException";

  Exception(std::string name, std::string reason)
      : name_(std::move(name)), reason_(std::move(reason)) {}

  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] const std::string& reason() const { return reason_; }
  [[nodiscard]] const char* what() const noexcept override { return reason_.c_str(); }

 private:
  std::string name_;
  std::string reason_;
};

}  // namespace halvarin
