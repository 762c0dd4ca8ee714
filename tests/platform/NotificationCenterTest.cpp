#include "platform/NotificationCenter.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>

namespace platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Observer : public Object {
 public:
  Observer(std::string name, std::vector<std::string>& log) : name_(std::move(name)), log_(log) {}

  void hear(const Notification& notification) {
    log_.push_back(name_ + " " + notification.name +
                   (notification.userInfo ? notification.userInfo->description() : ""));
    onHear();
  }
  void hearPlain() { log_.push_back(name_); }

  std::function<void()> onHear = [] {};

 private:
  std::string name_;
  std::vector<std::string>& log_;
};

class NotificationCenterTest : public testing::Test {
 protected:
  std::shared_ptr<Observer> observer(const char* name, const Object* sender = nullptr) {
    auto made = std::make_shared<Observer>(name, log);
    center.addObserver(made, &Observer::hear, "news", sender);
    return made;
  }
  std::vector<std::string> post(std::shared_ptr<Object> sender = nullptr) {
    log.clear();
    center.post("news", std::move(sender));
    return log;
  }

  NotificationCenter center;
  std::vector<std::string> log;
};

TEST_F(NotificationCenterTest, CallsObserversOfTheNameInOrderOfRegistration) {
  const auto a = observer("a");
  const auto b = observer("b");
  center.addObserver(a, &Observer::hearPlain, "news");
  center.addObserver(b, &Observer::hear, "old news");
  EXPECT_THAT(post(), ElementsAre("a news", "b news", "a"));
  center.post("nobody listens");
  const Dictionary userInfo{{"key", 1}};
  center.post("old news", nullptr, &userInfo);
  EXPECT_EQ(log.back(), "b old news{key = 1;}");
}

TEST_F(NotificationCenterTest, FiltersBySenderAlsoWhenItsAddressIsUsedAgain) {
  alignas(Object) std::array<std::byte, sizeof(Object)> place{};
  const auto senderThere = [&] {
    return std::shared_ptr<Object>(new (place.data()) Object, [](Object* end) { end->~Object(); });
  };
  auto sender = senderThere();
  const auto any = observer("any");
  const auto one = observer("one", sender.get());
  EXPECT_THAT(post(sender), ElementsAre("any news", "one news"));
  EXPECT_THAT(post(), ElementsAre("any news"));
  sender.reset();
  EXPECT_THAT(post(senderThere()), ElementsAre("any news"));
}

TEST_F(NotificationCenterTest, ChangesDuringAPosting) {
  const auto a = observer("a");
  const auto b = observer("b");
  std::shared_ptr<Observer> added;
  a->onHear = [&] {
    center.removeObserver(*b);
    if (!added) added = observer("added");
  };
  EXPECT_THAT(post(), ElementsAre("a news"));
  EXPECT_THAT(post(), ElementsAre("a news", "added news"));
}

TEST_F(NotificationCenterTest, PostsFromAHandler) {
  const auto a = observer("a");
  const auto b = observer("b");
  bool posted = false;
  a->onHear = [&] {
    if (!std::exchange(posted, true)) center.post("news");
  };
  EXPECT_THAT(post(), ElementsAre("a news", "a news", "b news", "b news"));
}

TEST_F(NotificationCenterTest, SkipsTheDeadAndKeepsTheOneItCalls) {
  auto a = observer("a");
  auto b = observer("b");
  a->onHear = [&] {
    b.reset();
    a.reset();  // nobody else holds it: it ends after its handler
  };
  EXPECT_THAT(post(), ElementsAre("a news"));
  EXPECT_THAT(post(), IsEmpty());
}

TEST_F(NotificationCenterTest, AnObserverMayRemoveItselfWhenItEnds) {
  class Leaver : public Object {
   public:
    explicit Leaver(NotificationCenter& center) : center_(center) {}
    ~Leaver() override {
      center_.post("news");  // not to itself
      center_.removeObserver(*this);
    }
    void hear() { FAIL(); }

   private:
    NotificationCenter& center_;
  };
  auto leaver = std::make_shared<Leaver>(center);
  const auto a = observer("a");
  center.addObserver(leaver, &Leaver::hear, "news");
  leaver.reset();
  EXPECT_THAT(log, ElementsAre("a news"));
  EXPECT_THAT(post(), ElementsAre("a news"));
}

TEST_F(NotificationCenterTest, AnyThreadMayPostAndRegister) {
  constexpr int kPosts = 300;
  struct Counter : Object {
    void count() { ++counted; }
    std::atomic<int> counted{0};
  };
  const auto counter = std::make_shared<Counter>();
  center.addObserver(counter, &Counter::count, "news");
  const auto postAndRegister = [&] {
    for (int i = 0; i < kPosts; ++i) {
      const auto passing = std::make_shared<Counter>();
      center.addObserver(passing, &Counter::count, "news");
      center.post("news");
      center.removeObserver(*passing);
    }
  };
  std::thread other(postAndRegister);
  postAndRegister();
  other.join();
  EXPECT_EQ(counter->counted, 2 * kPosts);
}

}  // namespace
}  // namespace platform
