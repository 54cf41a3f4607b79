// What the shared library offers to a host that looks names up at run time.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>

namespace halvarin::test {
namespace {

class ExportedSymbols : public testing::Test {
 protected:
  ExportedSymbols() : library_(dlopen(HALVARIN_LIBRARY, RTLD_NOW | RTLD_LOCAL), &dlclose) {
    EXPECT_TRUE(library_) << dlerror();
  }
  template <typename T>
  const T* symbol(const char* name) {
    const auto* found = static_cast<const T*>(dlsym(library_.get(), name));
    EXPECT_NE(found, nullptr) << name;
    return found;
  }

  std::unique_ptr<void, int (*)(void*)> library_;
};

TEST_F(ExportedSymbols, VersionIsADoubleAndAText) {
  EXPECT_EQ(*symbol<double>("HalvarinVersionNumber"), 1.0);
  EXPECT_EQ(std::string(symbol<char>("HalvarinVersionString")),
            "@(#)PROGRAM:Halvarin  PROJECT:Brimvale-1\n");
}

TEST_F(ExportedSymbols, ContainerTablesComeWithTheirLengths) {
  EXPECT_EQ(*symbol<std::int64_t>("kSaltBlockLength"), 1063);
  EXPECT_EQ(*symbol<std::int64_t>("kSBlockLength"), 1063);
  EXPECT_EQ(*symbol<std::int64_t>("kSaltBlockSecKeyIndicesLength"), 16);
  EXPECT_EQ(*symbol<std::int64_t>("kSBSKIndicesLength"), 16);
  const auto* writer = symbol<std::uint64_t>("kSaltBlockSecKeyIndices");
  const auto* reader = symbol<std::uint64_t>("kSBSKIndices");
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(writer[i], reader[i]);
    EXPECT_LT(writer[i], 1063U);
  }
  EXPECT_NE(symbol<std::uint8_t>("kSaltBlock"), nullptr);
}

TEST_F(ExportedSymbols, NotificationNameIsAPointerToItsText) {
  EXPECT_EQ(std::string(*symbol<const char*>("kSensorUpdateNotify")), "sensorUpdateNotification");
}

TEST_F(ExportedSymbols, LocalKeyAndSectionStayInside) {
  for (const char* hidden :
       {"kLocalKeyBytes", "_ZN8halvarin14kLocalKeyBytesE", "__start___sensors_plist"}) {
    EXPECT_EQ(dlsym(library_.get(), hidden), nullptr) << hidden;
  }
}

}  // namespace
}  // namespace halvarin::test
