// The main bundle: the folder that HALVARIN_STAND_IN_BUNDLE names, with executables and the
// property list strings.plist; and the file that the process runs.

#include <mach-o/dyld.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "base/Dictionary.h"
#include "base/FileBytes.h"
#include "platform/PropertyList.h"
#include "tests/darwin/standin/Objects.h"

using halvarin::standin::newText;
using halvarin::standin::refuse;
using halvarin::standin::utf8Of;

namespace {

std::string fileOfBundle(const std::string& name) {
  const char* const folder = std::getenv("HALVARIN_STAND_IN_BUNDLE");
  return folder != nullptr ? std::string(folder) + "/" + name : "";
}

halvarin::Value translationOf(const std::string& text) {
  const auto bytes = halvarin::fileBytes(fileOfBundle("strings.plist"));
  const auto strings =
      bytes ? halvarin::platform::parsePropertyList(halvarin::Data(std::string_view(*bytes)))
                  .dictionary()
            : nullptr;
  return strings ? strings->get(text) : halvarin::Value();
}

void checkBundle(CFBundleRef bundle) {
  if (bundle == nullptr) {
    refuse("a null bundle");
  }
}

}  // namespace

extern "C" {

// None where that name is empty.
CFBundleRef CFBundleGetMainBundle() {
  static char bundle = 0;
  return fileOfBundle("") != "/" ? reinterpret_cast<CFBundleRef>(&bundle) : nullptr;
}

CFURLRef CFBundleCopyAuxiliaryExecutableURL(CFBundleRef bundle, CFStringRef executableName) {
  checkBundle(bundle);
  const std::string name = utf8Of(executableName);
  const bool isName = !name.empty() && name.find('/') == std::string::npos;
  std::string path = isName ? fileOfBundle(name) : "";
  return ::access(path.c_str(), X_OK) == 0 ? new __CFURL(std::move(path)) : nullptr;
}

CFStringRef CFBundleCopyLocalizedString(CFBundleRef bundle, CFStringRef key, CFStringRef value,
                                        CFStringRef tableName) {
  checkBundle(bundle);
  if (value != nullptr || tableName != nullptr) {
    refuse("other tables of a bundle's strings");
  }
  const halvarin::Value translation = translationOf(utf8Of(key));
  if (translation.isText()) {
    return newText(translation.textView());
  }
  return static_cast<CFStringRef>(CFRetain(key));
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer,
                                         CFIndex maxBufLen) {
  const std::size_t size = url->path.size() + 1;
  if (resolveAgainstBase == 0 || static_cast<std::size_t>(maxBufLen) < size) {
    return 0;
  }
  std::memcpy(buffer, url->path.c_str(), size);
  return 1;
}

int _NSGetExecutablePath(char* buf, uint32_t* bufsize) {
  const std::string path = std::filesystem::read_symlink("/proc/self/exe").string();
  if (*bufsize < path.size() + 1) {
    *bufsize = static_cast<std::uint32_t>(path.size() + 1);
    return -1;
  }
  std::memcpy(buf, path.c_str(), path.size() + 1);
  return 0;
}

}  // extern "C"
