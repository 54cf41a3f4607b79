#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/Mutex.h"
#include "platform/Clock.h"
#include "platform/machine/MachineFile.h"
#include "platform/machine/linux/FileTree.h"

namespace halvarin::platform {

/// What the driver says of the key at an index.
struct KeyFacts {
  FourBytes code{};
  FourBytes type{};
  std::uint32_t sizeBytes = 0;  // 0 to 255
};

/// Reads keys through the driver's one cursor, which every process moves as it likes. What is
/// returned belongs to the key that was asked for: a reading that may have been another's is taken
/// again, a bounded number of times, and is an error in the end. So is every reading where the
/// system does not tell of others' writes. Names and descriptions, which are asked for once, are
/// waited for longer than values, until that has taken ten seconds in all, and for some seconds not
/// at all after several in vain. Errors are the system's; EBUSY is a reading that could not be had
/// to itself. Any thread.
class KeyCursor {
 public:
  /// The cursor is the file `path`; what it points at are the files whose names begin with it.
  /// "" for a driver that has no cursor.
  KeyCursor(std::shared_ptr<FileTree> files, std::string path, std::shared_ptr<Clock> clock);

  /// 0 when this process may move the cursor.
  [[nodiscard]] int mayMove();

  /// 0 when it can be read through the cursor, too. EMFILE where the system does not tell of
  /// others' writes: it gives each user a limited number of notices.
  [[nodiscard]] int mayRead();

  /// The key's name alone. EINVAL for an index that the driver does not have.
  [[nodiscard]] int name(std::uint32_t index, FourBytes& code);

  /// EINVAL for an index that the driver does not have.
  [[nodiscard]] int describe(std::uint32_t index, KeyFacts& facts);

  /// The value of the key that was found at this index: at most 255 bytes. EIO when the controller
  /// did not give it. Where it did not, look after look, while somebody moved the cursor, it is
  /// EBUSY for ten seconds without another look.
  [[nodiscard]] int readValue(std::uint32_t index, const FourBytes& code, std::string& bytes);

  /// Does something that others who know of the lock must not do at the same time, and returns its
  /// result. Done without the lock where that is not to be had. `action` does not ask the cursor.
  [[nodiscard]] int whileLocked(const std::function<int()>& action);

 private:
  /// What became of the looks that one visit took.
  struct Tally {
    int looks = 0;
    int refusals = 0;
    int answers = 0;  // whosever they were
  };
  /// What one look at the key under the cursor has shown.
  struct Sight {
    Tally all;  // up to and with this one
    bool isBlind = false;
    FileContent name;
    std::vector<FileContent> facts;  // none when there is no name
  };
  /// How many looks are taken at most, and how long after the first another may begin.
  struct Patience {
    int looks = 0;
    Clock::Duration time;
  };
  static const Patience kForSight;
  static const Patience kForValue;
  static const Patience kForWhatIsAskedOnce;
  static const Patience kForWhatIsHopeless;

  [[nodiscard]] int visitOnce(std::uint32_t index, const std::vector<std::string_view>& facts,
                              Sight& sight);
  [[nodiscard]] const Patience& patienceForOnce() const HALVARIN_REQUIRES(mutex_);
  [[nodiscard]] int visit(std::uint32_t index, const std::vector<std::string_view>& facts,
                          const Patience& patience, Sight& sight) HALVARIN_REQUIRES(mutex_);
  /// Whether the controller did not give something of it.
  [[nodiscard]] static bool showsRefusal(const Sight& sight);
  [[nodiscard]] int openFile() HALVARIN_REQUIRES(mutex_);
  /// `always`: also where it was waited for in vain a moment ago.
  enum class LockWait { always, unlessInVain };
  [[nodiscard]] bool lockFile(LockWait wait) HALVARIN_REQUIRES(mutex_);
  [[nodiscard]] int lookOnce(std::uint32_t index, const std::vector<std::string_view>& facts,
                             Sight& sight) HALVARIN_REQUIRES(mutex_);
  [[nodiscard]] int look(std::uint32_t index, const std::vector<std::string_view>& facts,
                         Sight& sight) HALVARIN_REQUIRES(mutex_);
  [[nodiscard]] FileContent beside(std::string_view ending) const;

  const std::shared_ptr<FileTree> files_;
  const std::string path_;
  const std::shared_ptr<Clock> clock_;
  Mutex mutex_;
  std::unique_ptr<CursorFile> file_ HALVARIN_GUARDED_BY(mutex_);  // null: not open yet
  // By index: keys whose values a rival and the controller have kept from us.
  std::unordered_map<std::uint32_t, Clock::Duration> sparedUntil_ HALVARIN_GUARDED_BY(mutex_);
  // When the lock is worth waiting for again.
  Clock::Duration lockBackAt_ HALVARIN_GUARDED_BY(mutex_) = Clock::Duration::zero();
  // What names and descriptions that took more than one look have cost so far.
  Clock::Duration waited_ HALVARIN_GUARDED_BY(mutex_) = Clock::Duration::zero();
  int inVain_ HALVARIN_GUARDED_BY(mutex_) = 0;  // of names and descriptions, the last in a row
  // When they are worth more than a look again.
  Clock::Duration hopeBackAt_ HALVARIN_GUARDED_BY(mutex_) = Clock::Duration::zero();
};

}  // namespace halvarin::platform
