#include "base/AtomicProperty.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace halvarin::test {
namespace {

TEST(AtomicProperty, BeginsWithTheEmptyValueOfItsType) {
  EXPECT_EQ(AtomicProperty<int>().get(), 0);
  EXPECT_FALSE(AtomicProperty<bool>().get());
  EXPECT_EQ(AtomicProperty<std::string>().get(), "");
  EXPECT_EQ(AtomicProperty<std::shared_ptr<int>>().get(), nullptr);
}

TEST(AtomicProperty, GivesTheLastValueThatWasSet) {
  AtomicProperty<std::string> property("first");
  EXPECT_EQ(property.get(), "first");
  property.set("second");
  EXPECT_EQ(property.get(), "second");
}

TEST(AtomicProperty, HandsOutCopiesThatLaterSetsLeaveAlone) {
  AtomicProperty<std::string> property("first");
  const std::string taken = property.get();
  property.set("second");
  EXPECT_EQ(taken, "first");
}

TEST(AtomicProperty, NoReaderSeesHalfAValue) {
  constexpr int kSets = 2000;
  using Pair = std::pair<std::string, std::string>;
  AtomicProperty<Pair> property;
  std::atomic<bool> done{false};
  std::thread writer([&] {
    for (int i = 0; i < kSets; ++i) {
      const std::string text = "a text too long for the string itself " + std::to_string(i);
      property.set({text, text});
    }
    done = true;
  });
  int torn = 0;
  do {
    const Pair pair = property.get();
    torn += pair.first == pair.second ? 0 : 1;
  } while (!done);
  writer.join();
  EXPECT_EQ(torn, 0);
  EXPECT_TRUE(property.get().first.ends_with(" 1999"));
}

/// Asks, while it is destroyed, whether another thread gets at the property that held it.
class Prober {
 public:
  using Property = AtomicProperty<std::shared_ptr<Prober>>;

  Prober(Property& property, std::thread& reader, bool& couldRead)
      : property_(property), reader_(reader), couldRead_(couldRead) {}
  ~Prober() {
    auto answered = std::make_shared<std::promise<void>>();
    auto answer = answered->get_future();
    reader_ = std::thread([&property = property_, answered] {
      static_cast<void>(property.get());
      answered->set_value();
    });
    couldRead_ = answer.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
  }
  Prober(const Prober&) = delete;
  Prober& operator=(const Prober&) = delete;

 private:
  Property& property_;
  std::thread& reader_;
  bool& couldRead_;
};

TEST(AtomicProperty, GivesTheLockBackBeforeTheOldValueIsDestroyed) {
  std::thread reader;
  bool couldRead = false;
  Prober::Property property;
  property.set(std::make_shared<Prober>(property, reader, couldRead));
  property.set(nullptr);
  ASSERT_TRUE(reader.joinable()) << "the old value was not destroyed";
  reader.join();
  EXPECT_TRUE(couldRead);
}

}  // namespace
}  // namespace halvarin::test
