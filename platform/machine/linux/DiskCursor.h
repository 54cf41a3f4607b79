#pragma once

#include <memory>
#include <string>

#include "platform/machine/linux/FileTree.h"
#include "platform/machine/linux/OpenFile.h"

namespace halvarin::platform {

/// A cursor on the disk, with the system's notices of writes as its witness. Every write of every
/// process gives one, before the writer goes on: so a cursor that was moved away and back again
/// does not go unseen. Those of a process with a network namespace of its own do, for the kernel
/// gives each of these a file system of its own for its devices.
class DiskCursor : public CursorFile {
 public:
  /// Null, with the reason in `error`, when the file cannot be written.
  [[nodiscard]] static std::unique_ptr<DiskCursor> open(const std::string& path, int& error);
  ~DiskCursor() override;
  DiskCursor(const DiskCursor&) = delete;
  DiskCursor& operator=(const DiskCursor&) = delete;

  [[nodiscard]] bool tryLock() override;
  void unlock() override;
  [[nodiscard]] int set(std::string_view text) override;
  [[nodiscard]] Witness witness() override;

 private:
  explicit DiskCursor(const std::string& path);
  [[nodiscard]] bool takeNotices() const;

  const OpenFile file_;
  int notices_;  // below 0 where the system gives none
  bool isBlind_ = true;
};

}  // namespace halvarin::platform
