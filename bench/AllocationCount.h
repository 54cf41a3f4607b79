#pragma once

#include <cstdint>

namespace halvarin::bench {

/// How often this process has taken memory through operator new so far.
[[nodiscard]] std::uint64_t allocationCount();

}  // namespace halvarin::bench
