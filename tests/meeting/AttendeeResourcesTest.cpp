// What attendees hold: pictures, memory, threads; and what they let go of.
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <new>

#include "tests/meeting/PlatformFixture.h"

// In this program there is no memory for arrays that are larger than this.
constexpr std::size_t kLargestArray = std::size_t{256} << 20;

void* operator new[](std::size_t size) {
  void* const array = size <= kLargestArray ? std::malloc(size) : nullptr;
  if (array == nullptr) throw std::bad_alloc();
  return array;
}
void operator delete[](void* array) noexcept { std::free(array); }
void operator delete[](void* array, std::size_t) noexcept { std::free(array); }

namespace meeting {
namespace {

using std::chrono_literals::operator""h;

class AttendeeResourcesTest : public PlatformFixture {
 protected:
  AttendeeResourcesTest() { present(); }
};

TEST_F(AttendeeResourcesTest, AHundredAttachmentsLeaveNothingBehind) {
  attendee_.port->setWatched(true);
  join(attendee_);
  sendPicture(1);
  for (int n = 0; n < 100; ++n) {
    showIn(*attendee_.port, attendee_.view);
    attendee_.view->setFrame({{0, 0}, {10.0 + n, 10}});
    showIn(*attendee_.port, nullptr);
  }
  EXPECT_TRUE(attendee_.view->subviews().empty());
  EXPECT_EQ(attendee_.view.use_count(), 1);
  EXPECT_EQ(platform_.pictures().most, 1U);
}

TEST_F(AttendeeResourcesTest, ThreadsAndPicturesEndWithThoseWhoTakeThem) {
  const auto threads = [] {
    using Tasks = std::filesystem::directory_iterator;
    return std::distance(Tasks("/proc/self/task"), Tasks());
  };
  // Awaited, because one that has been joined may still be on its way out of the list.
  const auto before = threads();
  for (int round = 0; round < 20; ++round) {
    Seat guests[] = {Seat(platform_), Seat(platform_)};
    waitFor([&] { return threads() == before + 2; });
    for (Seat& guest : guests) {
      watch(guest);
      join(guest);
    }
    sendPicture(static_cast<std::uint64_t>(round));
    for (Seat& guest : guests) whenReceived(guest, 1);
    presenter_ = platform_.attachPresenter(presenterPeer_);
    present();
  }
  waitFor([&] { return threads() == before; });
  EXPECT_LE(platform_.pictures().frames, 4U) << "what is kept for the pictures to come";
}

TEST_F(AttendeeResourcesTest, WhoLeavesTakesNoPictureAnyMore) {
  attendee_.port->setDelay(1h);
  watch(attendee_);
  join(attendee_);
  sendPicture(1);
  whenReceived(attendee_, 1);
  sendPicture(2);
  leave(attendee_);
  attendee_.port->setDelay(0h);
  join(attendee_);  // is offered the newest one again
  waitFor([&] { return attendee_.view->contents()->pixels[0] == 2; });
  sendPicture(3);
  waitFor([&] { return attendee_.view->contents()->pixels[0] == 3; });
  const auto accountedFor = [&] {
    const AttendeeStatistics figures = attendee_.port->statistics();
    return figures.framesReceived + figures.framesLost;
  };
  waitFor([&] { return accountedFor() >= 3; });
  EXPECT_EQ(accountedFor(), 3U) << "the one that waited is gone";
}

TEST_F(AttendeeResourcesTest, PicturesThatAreHeldAreLetGoAfterwards) {
  constexpr std::uint64_t kHeld = 20;
  watch(attendee_);
  join(attendee_);
  std::vector<std::shared_ptr<const platform::Image>> held;
  for (std::uint64_t n = 1; n <= kHeld; ++n) {
    sendPicture(n);
    whenReceived(attendee_, n);
    held.push_back(attendee_.view->contents());
    EXPECT_EQ(held.back()->pixels[0], n);
  }
  EXPECT_EQ(held.front()->pixels[0], 1) << "nobody writes into what is held";
  EXPECT_GE(platform_.pictures().frames, kHeld);
  held.clear();
  EXPECT_LE(platform_.pictures().frames, 1U + 4U) << "the one on show, and some to come";
  for (std::uint64_t n = kHeld + 1; n <= kHeld + 64; ++n) {
    sendPicture(n);
    whenReceived(attendee_, n);
  }
  EXPECT_LE(platform_.pictures().frames, 2U) << "the one on show, and the one before it";
}

TEST_F(AttendeeResourcesTest, RoomForLargePicturesIsGivenBack) {
  watch(attendee_);
  join(attendee_);
  for (std::uint64_t n = 1; n <= 2; ++n) {
    sendSample(Sample(n, 2000, 1000));
    whenReceived(attendee_, n);
  }
  EXPECT_GE(platform_.pictures().bytes, 2U * 6000 * 1000) << "one is kept for the next picture";
  sendSample(Sample(3, 1500, 1000));
  whenReceived(attendee_, 3);
  EXPECT_LE(platform_.pictures().bytes, 2U * 4600 * 1000) << "none is larger than they are now";
  sendPicture(4);
  whenReceived(attendee_, 4);
  EXPECT_LT(platform_.pictures().bytes, 1000U) << "neither what was idle nor what was on show";
}

TEST_F(AttendeeResourcesTest, APictureThatThereIsNoMemoryForIsNotShown) {
  attendee_.view->setFrame({{0, 0}, {16384, 16384}});
  watch(attendee_);
  join(attendee_);
  for (std::uint64_t n = 1; n <= 3; ++n) {
    sendPicture(n);
    whenReceived(attendee_, n);
  }
  EXPECT_FALSE(attendee_.view->contents());
  attendee_.view->setFrame({{0, 0}, {10, 6}});
  waitForSize(*attendee_.view, {10, 6});
  EXPECT_EQ(attendee_.view->contents()->pixels[0], 3);
}

TEST_F(AttendeeResourcesTest, TheNewestPictureWinsAndMemoryStaysBounded) {
  constexpr std::uint64_t kPictures = 1000;
  Seat slow(platform_), slower(platform_);
  slow.port->setDelay(1h);
  slower.port->setDelay(2h);
  Seat* const seats[] = {&attendee_, &slow, &slower};
  for (Seat* seat : seats) {
    watch(*seat);
    join(*seat);
  }
  sendPicture(1);
  for (Seat* seat : seats) whenReceived(*seat, 1);
  for (std::uint64_t n = 2; n <= kPictures; ++n) sendPicture(n);
  for (Seat* seat : {&slow, &slower}) {
    const AttendeeStatistics figures = seat->port->statistics();
    EXPECT_EQ(figures.framesReceived, 1U);
    EXPECT_EQ(figures.framesLost, kPictures - 2) << "all but the first and the newest";
    EXPECT_EQ(seat->view->contents()->pixels[0], 1);
  }
  // The stream: one that is copied, the newest. An attendee: one to be taken, one taken, one on
  // show, one that is about to be.
  EXPECT_LE(platform_.pictures().most, 2U + 4U * std::size(seats));

  slow.port->setDelay(0h);
  whenReceived(slow, 2);
  EXPECT_EQ(slow.view->contents()->pixels[0], static_cast<std::uint8_t>(kPictures));
  waitFor([&] {
    const AttendeeStatistics figures = attendee_.port->statistics();
    return figures.framesReceived + figures.framesLost == kPictures;
  });
  EXPECT_EQ(attendee_.view->contents()->pixels[0], static_cast<std::uint8_t>(kPictures));
  EXPECT_EQ(slower.port->statistics().framesReceived, 1U) << "each at its own pace";
}

}  // namespace
}  // namespace meeting
