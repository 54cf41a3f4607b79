#include "tests/support/ProgramRun.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "tests/generated/TestPaths.h"

namespace halvarin::test {

namespace {

namespace fs = std::filesystem;

std::string textOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string quoted(const std::string& word) {
  std::string text = "'";
  for (const char character : word) {
    text += character == '\'' ? std::string("'\\''") : std::string(1, character);
  }
  return text + "'";
}

/// A folder for the run's output, gone afterwards.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string pattern = (fs::temp_directory_path() / "halvarin-test-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  ~ScratchFolder() { fs::remove_all(path_); }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  [[nodiscard]] fs::path file(const char* name) const { return path_ / name; }

 private:
  fs::path path_;
};

}  // namespace

ProgramRun runProgram(const std::string& path, const std::vector<std::string>& words) {
  const ScratchFolder scratch;
  std::string command = quoted(path);
  for (const std::string& word : words) {
    command += " " + quoted(word);
  }
  command += " </dev/null >" + quoted(scratch.file("out")) + " 2>" + quoted(scratch.file("err"));
  const int status = std::system(command.c_str());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
          textOf(scratch.file("out")), textOf(scratch.file("err"))};
}

std::string machineFile(const std::string& name) {
  return std::string("file:") + HALVARIN_SOURCE_DIR + "/tests/machines/" + name;
}

void expectGolden(const std::string& name, const std::string& text) {
  const fs::path path = fs::path(HALVARIN_SOURCE_DIR) / "tests/golden" / name;
  if (std::getenv("HALVARIN_UPDATE_GOLDEN") != nullptr) {
    std::ofstream(path, std::ios::binary) << text;
    FAIL() << path << " was written anew: read it, then run again without HALVARIN_UPDATE_GOLDEN";
  }
  EXPECT_EQ(text, textOf(path)) << "differs from " << path;
}

}  // namespace halvarin::test
