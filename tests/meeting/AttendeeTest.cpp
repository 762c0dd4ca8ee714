// What an attendee sees of the presenter's stream.
#include <atomic>
#include <chrono>
#include <cmath>
#include <future>
#include <thread>

#include "tests/meeting/PlatformFixture.h"

namespace meeting {
namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

class AttendeeTest : public PlatformFixture {
 protected:
  AttendeeTest() { present(); }
  // Colours that change slowly over the picture.
  static Sample gradient(std::uint16_t width, std::uint16_t height) {
    Sample sample(0, width, height);
    for (std::uint32_t y = 0; y < height; ++y)
      for (std::uint32_t x = 0; x < 3U * width; ++x)
        sample.bytes[y * sample.rowBytes() + x] =
            gradientAt({(x / 3 + 0.5) / width, (y + 0.5) / height}, x % 3);
    return sample;
  }
  static std::uint8_t gradientAt(platform::Point at, std::uint32_t colour) {
    const double value = colour == 0 ? at.x : colour == 1 ? at.y : 1 - at.x * at.y;
    return static_cast<std::uint8_t>(std::lround(value * 255));
  }
  static double psnrAgainstGradient(const platform::Image& image) {
    double error = 0;
    for (std::uint32_t y = 0; y < image.height; ++y)
      for (std::uint32_t x = 0; x < 3 * image.width; ++x) {
        const double difference =
            image.pixels[y * image.bytesPerRow + x] -
            gradientAt({(x / 3 + 0.5) / image.width, (y + 0.5) / image.height}, x % 3);
        error += difference * difference;
      }
    return 10 * std::log10(255 * 255 * 3.0 * image.width * image.height / error);
  }
};

TEST_F(AttendeeTest, PicturesFillTheViewWithTheirAspectKept) {
  struct Case {
    const char* name;
    PixelSize picture;
    platform::Size view;
    PixelSize drawn;
  };
  const Case cases[] = {
      {"as large", {64, 36}, {64, 36}, {64, 36}},     {"as wide", {64, 36}, {64, 90}, {64, 36}},
      {"as high", {64, 36}, {90.4, 36.2}, {64, 36}},  {"larger", {64, 36}, {160, 90}, {160, 90}},
      {"smaller", {320, 180}, {101, 101}, {101, 57}}, {"odd", {63, 35}, {333, 187}, {333, 185}},
      {"flat", {2000, 20}, {50, 50}, {50, 1}},
  };
  watch(attendee_);
  join(attendee_);
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    attendee_.view->setFrame({{10, 10}, test.view});
    const auto count = attendee_.port->statistics().framesReceived;
    EXPECT_EQ(sendSample(gradient(static_cast<std::uint16_t>(test.picture.width),
                                  static_cast<std::uint16_t>(test.picture.height))),
              1U);
    const AttendeeStatistics statistics = whenReceived(attendee_, count + 1);
    EXPECT_EQ(statistics.pictureWidth, test.picture.width);
    EXPECT_EQ(statistics.pictureHeight, test.picture.height);
    const auto shown = attendee_.view->contents();
    ASSERT_TRUE(shown);
    EXPECT_EQ(shown->width, test.drawn.width);
    EXPECT_EQ(shown->height, test.drawn.height);
    EXPECT_GT(psnrAgainstGradient(*shown), test.picture == test.drawn ? 100 : 40);
  }
}

TEST_F(AttendeeTest, AttendeesShareWhatTheySeeAtTheSameSize) {
  for (const double scale : {1.0, 2.0, 7.0}) {
    SCOPED_TRACE(scale);
    Seat one(platform_), other(platform_);
    for (Seat* seat : {&one, &other}) {
      seat->view->setFrame({{0, 0}, {5 * scale, 3 * scale}});
      watch(*seat);
      join(*seat);
    }
    setStatus(MM_MEDIASTREAMING_PAUSE, 9);
    sendStill(9);
    const auto showsIt = [](const Seat& seat) {
      const auto shown = seat.view->contents();
      return shown && shown->pixels[0] == 9;
    };
    waitFor([&] { return showsIt(one) && showsIt(other); });
    const auto shown = one.view->contents();
    EXPECT_EQ(shown->width, 5 * scale);
    EXPECT_EQ(shown->pixels, other.view->contents()->pixels);
    if (scale == 1) {
      EXPECT_EQ(shown->bytesPerRow, 16U) << "as it was sent";
    }
    // A picture on show outlives the channel.
    one.port.reset();
    EXPECT_EQ(shown->pixels[shown->height * shown->bytesPerRow - 1], 9);
    sendStill(0);  // what the next ones see first
  }
}

TEST_F(AttendeeTest, AViewThatIsResizedIsDrawnAgain) {
  attendee_.view->setFrame({{0, 0}, {0, 0}});
  auto parent = std::make_shared<platform::View>(platform::Rect{{0, 0}, {0, 0}});
  attendee_.view->setAutoresizingMask(platform::kViewWidthSizable | platform::kViewHeightSizable);
  parent->addSubview(attendee_.view);
  watch(attendee_);
  join(attendee_);
  setStatus(MM_MEDIASTREAMING_PAUSE, 0);
  sendStill(3);
  whenReceived(attendee_, 1);
  EXPECT_FALSE(attendee_.view->contents()) << "no room for a picture";
  parent->setFrame({{0, 0}, {50, 50}});
  waitForSize(*attendee_.view, {50, 30});
  parent->setFrame({{0, 0}, {100, 100}});
  waitForSize(*attendee_.view, {100, 60});
  attendee_.view->setFrame({{0, 0}, {10, 3}});
  waitForSize(*attendee_.view, {5, 3});
  EXPECT_EQ(attendee_.port->statistics().framesReceived, 1U);
}

TEST_F(AttendeeTest, OnlyWatchedAndAttachedViewsAreDrawnInto) {
  showIn(*attendee_.port, attendee_.view);
  join(attendee_);
  sendPicture(1);
  whenReceived(attendee_, 1);
  EXPECT_FALSE(attendee_.view->contents());
  attendee_.port->setWatched(true);
  waitForSize(*attendee_.view, {5, 3});
  showIn(*attendee_.port, nullptr);
  sendPicture(2);
  whenReceived(attendee_, 2);
  EXPECT_EQ(attendee_.view->contents()->pixels[0], 1) << "detached";
  EXPECT_EQ(attendee_.view.use_count(), 1);
  showIn(*attendee_.port, attendee_.view);
  waitFor([&] { return attendee_.view->contents()->pixels[0] == 2; });

  auto elsewhere = std::make_shared<platform::View>(platform::Rect{{0, 0}, {5, 3}});
  tagMSRenderView handle{reinterpret_cast<std::uint64_t>(elsewhere.get()),
                         MM_MEDIASTREAMING_VIEW_KIND, 0};
  tagMSRenderUpdate update{kHead,
                           MM_MEDIASTREAMING_CHANNEL_LISTENER,
                           0,
                           handle.hRenderView,
                           MM_MEDIASTREAMING_UPDATE_VIEW,
                           &handle,
                           0};
  EXPECT_EQ(send(*attendee_.port, MM_MEDIASTREAMING_CMD_UPDATE_RENDER, &update), 1U);
  waitForSize(*elsewhere, {5, 3});
}

TEST_F(AttendeeTest, LateOnesSeeTheStillPicture) {
  setStatus(MM_MEDIASTREAMING_PAUSE, 40);
  sendStill(40);  // nobody is there yet
  watch(attendee_);
  join(attendee_);
  waitForSize(*attendee_.view, {5, 3});
  EXPECT_EQ(attendee_.view->contents()->pixels[0], 40);
  EXPECT_EQ(observer_.wanted, 0);
}

// One picture in many seconds, and nobody there when it comes.
TEST_F(AttendeeTest, LateOnesSeeAPictureThatIsAtMostHalfASecondOlderThanTheNewest) {
  struct Case {
    const char* name;
    platform::Duration between;
    std::int64_t seekTo;  // in between, or none
    int shown;
  };
  const Case cases[] = {
      {"one picture", 0ms, -1, 1},
      {"soon followed", 499ms, -1, 1},
      {"followed", 500ms, -1, 2},
      {"followed after a seek", 40ms, 5000, 2},
  };
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    presenter_->lose();
    presenter_ = platform_.attachPresenter(presenterPeer_);
    present();
    Seat late(platform_);
    setStatus(MM_MEDIASTREAMING_PLAY, 0);
    sendPicture(1);
    step(test.between);
    if (test.seekTo >= 0) setStatus(MM_MEDIASTREAMING_PLAY, test.seekTo);
    if (test.between > 0ms) sendPicture(2);
    step(8000ms);
    watch(late);
    join(late);
    whenReceived(late, 1);
    EXPECT_EQ(late.view->contents()->pixels[0], test.shown);
    EXPECT_EQ(observer_.wanted, 0) << "the next one is about to come";
    leave(late);
    sendPicture(3);  // the kept one is old by now
    join(late);
    whenReceived(late, 2);
    EXPECT_EQ(late.view->contents()->pixels[0], 3);
  }
}

// The delivery threads go on whatever happens on the main thread; what is refused is not observed.
TEST_F(AttendeeTest, SamplesComeWhileEverythingChanges) {
  std::atomic<bool> ending{false};
  std::atomic<int> taken{0};
  std::thread pictures([&] {
    for (std::uint64_t n = 0; !ending; ++n)
      if (sendSample(Sample(n, 64, 36)) == 1) ++taken;
  });
  std::thread sound([&] {
    while (!ending) sendSound(0, {1, 2, 3, 4});
  });
  setStatus(MM_MEDIASTREAMING_PLAY, 0);
  watch(attendee_);
  for (int round = 0; round < 50; ++round) {
    Seat guest(platform_);
    watch(guest);
    join(guest);
    join(attendee_);
    const auto before = guest.port->statistics().framesReceived;
    whenReceived(guest, before + 2);
    showIn(*guest.port, nullptr);
    attendee_.view->setFrame({{0, 0}, {20.0 + round, 20}});
    if (round % 5 == 0) {
      platform_.failChannel();
      platform_.reconnectChannel();
    }
    if (round % 2 == 0) leave(attendee_);
    turn();
  }
  presenter_->lose();
  const int observed = observer_.pictures;
  ending = true;
  pictures.join();
  sound.join();
  EXPECT_EQ(observed, taken);
  EXPECT_EQ(observer_.pictures, observed) << "none after it was lost";
}

// A picture whose end lasts until it is let go: who puts another one in its place hangs in drawing.
class Sticky {
 public:
  // Shown in the view from now on.
  explicit Sticky(platform::View& view) {
    auto image = std::make_shared<platform::Image>();
    image->storage = std::shared_ptr<void>(this, [this](void*) {
      hangs = true;
      waitUntil(free);
      hangs = false;
    });
    view.setContents(std::move(image));
  }

  static void waitUntil(const std::atomic<bool>& state) {
    while (!state) std::this_thread::yield();
  }

  std::atomic<bool> hangs{false}, free{false};
};

TEST_F(AttendeeTest, SlowOnesHoldUpNeitherThePresenterNorOthers) {
  constexpr std::uint64_t kPictures = 100;
  Seat& hanging = attendee_;
  Seat resting(platform_), quick(platform_);
  resting.port->setDelay(std::chrono::hours(1));
  Sticky sticky(*hanging.view);
  for (Seat* seat : {&hanging, &resting, &quick}) {
    watch(*seat);
    join(*seat);
  }
  setStatus(MM_MEDIASTREAMING_PLAY, 0);
  // The presenter's thread is this one: if it waited, nobody would ever let the slow one go.
  sendPicture(1);
  Sticky::waitUntil(sticky.hangs);
  whenReceived(resting, 1);
  whenReceived(quick, 1);
  for (std::uint64_t n = 2; n <= kPictures; ++n) {
    sendPicture(n);
    EXPECT_EQ(whenReceived(quick, n).framesReceived, n);
    step(40ms);
  }
  EXPECT_EQ(observer_.pictures, kPictures);
  EXPECT_EQ(quick.port->statistics().framesLost, 0U);
  EXPECT_EQ(quick.view->contents()->pixels[0], kPictures);
  EXPECT_EQ(resting.port->statistics().framesReceived, 1U);
  EXPECT_EQ(resting.port->statistics().framesLost, kPictures - 2) << "but for the newest";
  EXPECT_EQ(hanging.port->statistics().framesReceived, 0U);
  EXPECT_TRUE(sticky.hangs);
  sticky.free = true;
  EXPECT_EQ(whenReceived(hanging, 2).framesLost, kPictures - 2);
  EXPECT_EQ(hanging.view->contents()->pixels[0], kPictures);
}

// Who shows a picture at another size goes on while somebody's own takes long, and those who show
// it at the same size share what is made once.
TEST_F(AttendeeTest, ASizeIsWaitedForByThoseOnlyWhoShowIt) {
  FramePool pool;
  const auto ofSize = [&pool](std::uint32_t size) {
    return pool.make(0, {size, size, 3 * size}, [](std::uint8_t*) {});
  };
  const FrameRef picture = ofSize(8);
  std::promise<void> begun, overtake;
  bool overtaken = false;
  FrameRef first, second;
  std::thread slow([&] {
    first = picture->rendition(4, 4, [&] {
      begun.set_value();
      overtaken = overtake.get_future().wait_for(30s) == std::future_status::ready;
      return ofSize(4);
    });
  });
  begun.get_future().wait();
  std::thread same([&] {
    second = picture->rendition(4, 4, [&] {
      ADD_FAILURE() << "made twice";
      return ofSize(4);
    });
  });
  EXPECT_EQ(picture->rendition(2, 2, [&] { return ofSize(2); })->width, 2U);
  overtake.set_value();
  slow.join();
  same.join();
  EXPECT_TRUE(overtaken);
  EXPECT_EQ(&*first, &*second);
}

TEST_F(AttendeeTest, TakingTheViewAwayWaitsForThePictureThatIsBeingShown) {
  Sticky sticky(*attendee_.view);
  watch(attendee_);
  join(attendee_);
  sendPicture(1);
  Sticky::waitUntil(sticky.hangs);
  std::atomic<bool> taken{false};
  std::thread freer([&] {
    std::this_thread::sleep_for(50ms);  // who does not wait has taken it by then
    EXPECT_FALSE(taken);
    sticky.free = true;
  });
  showIn(*attendee_.port, nullptr);
  EXPECT_FALSE(sticky.hangs) << "somebody still draws";
  taken = true;
  freer.join();
  sendPicture(2);
  whenReceived(attendee_, 2);
  EXPECT_EQ(attendee_.view->contents()->pixels[0], 1);
}

}  // namespace
}  // namespace meeting
