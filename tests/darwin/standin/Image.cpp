// Sections of an image of this computer's own format, by its file and where it was loaded.

#include <dlfcn.h>
#include <elf.h>
#include <mach-o/getsect.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "base/FileBytes.h"

namespace {

template <typename Record>
Record recordAt(std::string_view file, std::size_t place) {
  Record record{};
  if (place <= file.size() && file.size() - place >= sizeof record) {
    std::memcpy(&record, file.data() + place, sizeof record);
  }
  return record;
}

class Sections {
 public:
  explicit Sections(std::string_view file)
      : file_(file), head_(recordAt<Elf64_Ehdr>(file, 0)), names_(at(head_.e_shstrndx).sh_offset) {}

  /// The section of that name; a zero address when there is none.
  [[nodiscard]] Elf64_Shdr named(std::string_view name) const {
    for (std::size_t i = 0; i < head_.e_shnum; ++i) {
      const Elf64_Shdr section = at(i);
      if (std::string_view(file_.data() + names_ + section.sh_name) == name) {
        return section;
      }
    }
    return {};
  }

 private:
  [[nodiscard]] Elf64_Shdr at(std::size_t place) const {
    return recordAt<Elf64_Shdr>(file_, head_.e_shoff + place * sizeof(Elf64_Shdr));
  }

  const std::string_view file_;
  const Elf64_Ehdr head_;
  const std::size_t names_;
};

}  // namespace

extern "C" uint8_t* getsectiondata(const struct mach_header_64* mhp, const char* segname,
                                   const char* sectname, unsigned long* size) {
  Dl_info image{};
  // The other system's sections, not this one's own (".text").
  const bool mayBeKnown =
      std::string_view(segname) == "__TEXT" && std::string_view(sectname).starts_with("__");
  if (!mayBeKnown || dladdr(mhp, &image) == 0) {
    return nullptr;
  }
  const auto file = halvarin::fileBytes(image.dli_fname);
  const Elf64_Shdr section = file ? Sections(*file).named(sectname) : Elf64_Shdr{};
  if (section.sh_addr == 0) {
    return nullptr;
  }
  *size = section.sh_size;
  return static_cast<std::uint8_t*>(image.dli_fbase) + section.sh_addr;
}
