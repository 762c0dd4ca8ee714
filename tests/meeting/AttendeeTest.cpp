// What an attendee sees and hears of the presenter's stream.
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <limits>
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
using std::chrono_literals::operator""ms;

class AttendeeTest : public PlatformFixture {
 protected:
  AttendeeTest() { present(); }
  void setAudioFormat(std::uint16_t bits) {
    tMSAUDIOFORMATEX format{0, 1, 0, 48000, 96000, 2, bits, 32, 0};
    tagMSMediaFormat record{kHead, MM_MEDIASTREAMING_MEDIATYPE_AUDIO, 0, &format, sizeof format};
    EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_MEDIA_FORMAT, &record), 1U);
  }
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

TEST_F(AttendeeTest, AHundredAttachmentsLeaveNothingBehind) {
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

TEST_F(AttendeeTest, ThreadsAndPicturesEndWithThoseWhoTakeThem) {
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

TEST_F(AttendeeTest, WhoLeavesTakesNoPictureAnyMore) {
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

TEST_F(AttendeeTest, PicturesThatAreHeldAreLetGoAfterwards) {
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

TEST_F(AttendeeTest, LateOnesSeeTheStillPicture) {
  setStatus(MM_MEDIASTREAMING_PAUSE, 40);
  sendStill(40);  // nobody is there yet
  watch(attendee_);
  join(attendee_);
  waitForSize(*attendee_.view, {5, 3});
  EXPECT_EQ(attendee_.view->contents()->pixels[0], 40);
  EXPECT_EQ(observer_.wanted, 0);
}

TEST_F(AttendeeTest, RoomForLargePicturesIsGivenBack) {
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

TEST_F(AttendeeTest, APictureThatThereIsNoMemoryForIsNotShown) {
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

TEST_F(AttendeeTest, TheNewestPictureWinsAndMemoryStaysBounded) {
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

struct Ear final : SoundSink {
  void sound(const AudioFormat& format, const AudioSample& sample) override {
    EXPECT_EQ(format.rate, 48000U);
    const auto* values = reinterpret_cast<const std::int16_t*>(sample.data);
    heard.assign(values, values + sample.bytes / sizeof(std::int16_t));
    bytes = sample.data;
  }
  std::vector<std::int16_t> heard;
  const void* bytes = nullptr;
};

TEST_F(AttendeeTest, SoundIsHeardAtTheAttendeesVolume) {
  struct Case {
    const char* name;
    std::uint16_t volume;
    std::uint32_t mute;
    std::vector<std::int16_t> heard;
  };
  constexpr auto kLeast = std::numeric_limits<std::int16_t>::min();
  const std::vector<std::int16_t> spoken{1000, -1000, 32767, kLeast, 1, -1, 0};
  const Case cases[] = {
      {"full", 255, 0, spoken},
      {"half", 128, 0, {501, -501, 16447, -16448, 0, 0, 0}},
      {"none", 0, 0, {0, 0, 0, 0, 0, 0, 0}},
      {"muted", 255, 1, {0, 0, 0, 0, 0, 0, 0}},
      {"muted otherwise", 128, 7, {0, 0, 0, 0, 0, 0, 0}},
      {"loud again", 255, 0, spoken},
  };
  join(attendee_);
  const auto ear = std::make_shared<Ear>();
  attendee_.port->listen(ear);
  EXPECT_EQ(sendSound(0, spoken), 1U);
  EXPECT_TRUE(ear->heard.empty()) << "of an unknown format";
  setAudioFormat(8);
  EXPECT_EQ(sendSound(0, spoken), 1U);
  EXPECT_TRUE(ear->heard.empty()) << "not what sinks take";
  setAudioFormat(16);
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    tagMSVolumeInfo volume{kHead, MM_MEDIASTREAMING_CHANNEL_LISTENER, test.volume, 0};
    EXPECT_EQ(send(*attendee_.port, MM_MEDIASTREAMING_CMD_VOLUME, &volume), 1U);
    tagMSMuteInfo mute{kHead, MM_MEDIASTREAMING_CHANNEL_LISTENER,
                       static_cast<MM_MEDIASTREAMING_MUTESTATUS>(test.mute)};
    EXPECT_EQ(send(*attendee_.port, MM_MEDIASTREAMING_CMD_MUTE_STATUS, &mute), 1U);
    EXPECT_EQ(sendSound(0, spoken), 1U);
    EXPECT_EQ(ear->heard, test.heard);
    EXPECT_EQ(attendee_.port->statistics().volume, test.volume);
    EXPECT_EQ(attendee_.port->statistics().muted, test.mute != 0);
  }
  ear->heard.clear();
  attendee_.port->listen(nullptr);
  sendSound(0, spoken);
  EXPECT_TRUE(ear->heard.empty());
  EXPECT_EQ(attendee_.port->statistics().audioBlocksReceived, std::size(cases) + 3);
}

// The delivery threads go on whatever happens on the main thread; what is refused is not observed.
TEST_F(AttendeeTest, SamplesComeWhileEverythingChanges) {
  std::atomic<bool> ending{false};
  std::atomic<int> taken{0};
  std::thread pictures([&] {
    for (std::uint64_t n = 0; !ending; ++n)
      if (sendSample(gradient(64, 36)) == 1) ++taken;
  });
  std::thread sound([&] {
    while (!ending) sendSound(0, {1, 2, 3, 4});
  });
  setStatus(MM_MEDIASTREAMING_PLAY, 0);
  const auto ear = std::make_shared<Ear>();
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

}  // namespace
}  // namespace meeting
