#include "base/FileBytes.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <utility>

namespace halvarin {

std::optional<std::string> fileBytes(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                             &std::fclose);
  if (!file) {
    return std::nullopt;
  }
  std::string bytes;
  std::array<char, 65536> block{};
  for (std::size_t got = block.size(); got == block.size();) {
    errno = 0;
    got = std::fread(block.data(), 1, block.size(), file.get());
    bytes.append(block.data(), got);
  }
  return std::ferror(file.get()) == 0 ? std::optional(std::move(bytes)) : std::nullopt;
}

}  // namespace halvarin
