// What is refused, and that nothing is left behind: threads, descriptors, calls.
#include <gmock/gmock.h>

#include <chrono>
#include <filesystem>

#include "avcapture/Keys.h"
#include "tests/avcapture/Support.h"

namespace avcapture::test {

namespace {

using ::testing::ElementsAre;

using Lifetime = PlayerTest;

// A Flash video, whose header tells nothing of its streams, with a picture of 8193x8193.
std::string hugePicture() {
  const auto number = [](std::size_t value, int bytes) {
    std::string big;
    while (--bytes >= 0) big += static_cast<char>(value >> (8 * bytes) & 0xFF);
    return big;
  };
  const std::string header("\x00\x00\x80\x00\x90\x00\x90\x00\x85\x00", 10);
  const std::string data = "\x12" + header + std::string(200, 'U');  // a key frame in H.263
  return std::string("FLV\x01\x01") + number(9, 4) + number(0, 4) + "\x09" +
         number(data.size(), 3) + number(0, 7) + data + number(data.size() + 11, 4);
}

TEST_F(Lifetime, WhatIsNoMovieIsRefused) {
  const std::string text = scratchPath("text.mp4");
  writeFile(text, "This is a text, whatever its name says.\n");
  const std::string whole = standardClip();
  const std::string truncated = scratchPath("truncated.mp4");
  std::filesystem::copy_file(whole, truncated, std::filesystem::copy_options::overwrite_existing);
  std::filesystem::resize_file(truncated, std::filesystem::file_size(whole) / 2);
  writeFile(scratchPath("empty.mp4"), "");
  writeFile(scratchPath("list.m3u8"), "#EXTM3U\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\n" + whole);
  writeFile(scratchPath("subtitles.srt"), "1\n00:00:01,000 --> 00:00:02,000\nWords.\n");
  writeFile(scratchPath("huge.flv"), hugePicture());
  const std::string pipe = scratchPath("pipe.mp4");
  std::filesystem::remove(pipe);
  output({"mkfifo", pipe});
  std::thread([] {}).join();  // with the first of a process, a sanitizer starts one of its own

  const Footprint before;
  for (const std::string& path :
       {scratchPath("missing.mp4"), std::filesystem::temp_directory_path().string(),
        scratchPath("empty.mp4"), text, truncated, scratchPath("subtitles.srt"),
        scratchPath("huge.flv"), pipe}) {
    SCOPED_TRACE(path);
    delegate.calls.clear();
    std::string section;
    delegate.onRender = [&] { section = KTVideoPlayer::crashSectionPath(); };
    open(path);
    EXPECT_FALSE(accepted);
    EXPECT_EQ(section, "");
    EXPECT_THAT(delegate.calls, ElementsAre("refused"));
    EXPECT_EQ(player->movie(), nullptr);
    EXPECT_EQ(player->mediaType(), kMediaTypeNone);
    player->onStart(nullptr);
    player->seek(1);
    EXPECT_FALSE(player->isPlaying());
    player.reset();
  }
  EXPECT_EQ(AVURLAsset::assetWithFilePath(""), nullptr);
  EXPECT_TRUE(returnsTo(before));
}

// A movie that breaks off in the middle plays as far as it goes.
TEST_F(Lifetime, MovieCutShortPlaysToWhereItBreaksOff) {
  const std::string whole = clip("front.mp4", "-i " + seekClip() + " -c copy -movflags +faststart");
  const std::string cut = scratchPath("cut.mp4");
  std::filesystem::copy_file(whole, cut, std::filesystem::copy_options::overwrite_existing);
  std::filesystem::resize_file(cut, std::filesystem::file_size(whole) * 2 / 3);
  open(cut);
  ASSERT_TRUE(accepted);
  playToTheEnd();
  EXPECT_GT(recorder->frames().size(), 20U);
  EXPECT_LT(recorder->frames().size(), 100U);
}

TEST_F(Lifetime, NothingIsLeftBehindInAnyState) {
  const std::string path = standardClip();
  openPaced(path);
  TearDown();
  const Footprint before;
  using Step = void (*)(Lifetime&);
  const Step steps[] = {
      [](Lifetime&) {},
      [](Lifetime& test) { test.player->onStart(nullptr); },
      [](Lifetime& test) {
        test.player->onStart(nullptr);
        ASSERT_TRUE(pumpUntil([&] { return !test.recorder->frames().empty(); }));
      },
      [](Lifetime& test) {
        test.player->onStart(nullptr);
        test.player->onStart(nullptr);
      },
      [](Lifetime& test) { test.player->seek(0.7F); },
      [](Lifetime& test) {
        test.session.reset();
        test.player->onStart(nullptr);
      },
      [](Lifetime& test) { test.session->stopAudioDeliverThreadIfNeed(); },
  };
  for (const Step step : steps) {
    openPaced(path);
    step(*this);
    // The owner's way: an end now, the last references go on a later turn of the loop.
    player->setDelegate(nullptr);
    player->willDie();
    if (session) session->stopAudioDeliverThreadIfNeed();
    const std::size_t delivered = recorder->frames().size();
    const auto array = std::make_shared<platform::ObjectArray>();
    const std::weak_ptr<KTVideoPlayer> watch = player;
    if (session) array->add(session);
    array->add(player);
    session.reset();
    player.reset();
    platform::performAfterDelay(array, &platform::ObjectArray::removeAll, {},
                                std::chrono::milliseconds(1));
    EXPECT_TRUE(pumpUntil([&] { return watch.expired(); }));
    EXPECT_TRUE(returnsTo(before));
    EXPECT_EQ(recorder->frames().size(), delivered);
  }
}

TEST_F(Lifetime, DroppedWithoutAWordItStopsAllTheSame) {
  openPaced(standardClip());
  TearDown();
  const Footprint before;
  openPaced(standardClip());
  player->onStart(nullptr);
  player.reset();
  EXPECT_TRUE(returnsTo(before));
  openPaced(standardClip());
  player->onStart(nullptr);
  session.reset();
  player.reset();
  EXPECT_TRUE(returnsTo(before));
}

class Gate : public platform::Object {
 public:
  void pass() { ++passed; }
  std::atomic<int> passed{0};
};

// The sound thread waits for the main thread, which waits for the sound thread.
TEST_F(Lifetime, EndsWhileTheSoundThreadWaitsForTheMainThread) {
  const auto gate = std::make_shared<Gate>();
  std::atomic<int> entered{0};
  recorder->onSound = [&] {
    ++entered;
    platform::performOnMainThread(gate, &Gate::pass, {}, true);
  };
  using End = void (*)(Lifetime&);
  const End ends[] = {
      [](Lifetime& test) { test.player->willDie(); },
      [](Lifetime& test) { test.session->stopAudioDeliverThreadIfNeed(); },
      [](Lifetime& test) { test.session.reset(); },
      [](Lifetime& test) { test.player.reset(); },
  };
  for (const End end : ends) {
    entered = 0;
    openPaced(standardClip());
    player->onStart(nullptr);
    while (entered == 0) std::this_thread::yield();
    end(*this);
    EXPECT_GE(gate->passed, 1);
    const int after = entered;
    EXPECT_EQ(gate->passed.exchange(0), after);
    TearDown();
    EXPECT_EQ(entered, after);
  }
}

TEST_F(Lifetime, OwnerMayLetGoInTheMiddleOfOpening) {
  delegate.onRender = [&] {
    player->setDelegate(nullptr);
    player->willDie();
  };
  setPlaybackOptions({.paced = true, .decoderThreads = 1, .localSound = false});
  player = KTVideoPlayer::newInstance();
  player->setDelegate(&delegate);
  KTVideoPlayer* const view = player.get();
  delegate.onRender = [&] {
    player->setDelegate(nullptr);
    player->willDie();
    player.reset();
  };
  view->setMovie(AVURLAsset::assetWithFilePath(standardClip()));
  EXPECT_EQ(player, nullptr);
  EXPECT_THAT(delegate.calls, ElementsAre("rendered"));
}

TEST_F(Lifetime, DeadListenerIsNotCalled) {
  open(standardClip());
  std::atomic<int> images{0};
  recorder->onImage = [&] { ++images; };
  recorder.reset();
  playToTheEnd();
  EXPECT_EQ(images, 0);
  EXPECT_EQ(player->statistics().framesDelivered, 0U);
}

// Without sound to wait for, the picture alone decides where the end is.
TEST_F(Lifetime, MovieEndsWithoutItsSoundThread) {
  open(standardClip());
  player->onStart(nullptr);
  session->stopAudioDeliverThreadIfNeed();
  ASSERT_TRUE(pumpUntil([&] { return delegate.count("stop") > 0; }));
  EXPECT_EQ(recorder->frames().size(), 25U);
}

// One that has taken its place does not free it from waiting for its own listener.
TEST_F(Lifetime, ReplacedSessionEndsAfterItsLastCall) {
  const auto gate = std::make_shared<Gate>();
  std::atomic<int> inside{0};
  open(seekClip());
  recorder->onImage = [&] {
    ++inside;
    platform::performOnMainThread(gate, &Gate::pass, {}, true);
    --inside;
  };
  player->onStart(nullptr);
  while (inside == 0) std::this_thread::yield();
  const auto other = std::make_shared<Recorder>();
  const auto second = sessionOn(player, other);
  session.reset();
  EXPECT_EQ(inside, 0);
  EXPECT_EQ(gate->passed, 1);
  ASSERT_TRUE(pumpUntil([&] { return delegate.count("stop") > 0; }));
  EXPECT_EQ(recorder->frames().size(), 1U);
  EXPECT_EQ(other->frames().size(), 99U);
}

TEST_F(Lifetime, OwnerMayEndItWhileItAsksToPlay) {
  delegate.embedded = true;
  for (std::function<void()> Delegate::*const asked :
       {&Delegate::onAskedToPlay, &Delegate::onPauseOthers}) {
    openPaced(standardClip());
    delegate.*asked = [this] {
      player->setDelegate(nullptr);
      player->willDie();
    };
    player->onStart(nullptr);
    EXPECT_FALSE(player->isPlaying());
    EXPECT_EQ(delegate.count("play"), 0);
    delegate.*asked = nullptr;
  }
}

// Both have a sound device of their own.
TEST_F(Lifetime, TwoDocumentsPlayWithSoundAndOnePausesTheOther) {
  ::setenv("SDL_AUDIODRIVER", "disk", 1);
  ::setenv("SDL_DISKAUDIOFILE", "/dev/null", 1);
  const PlaybackOptions audible{.paced = true, .decoderThreads = 1, .localSound = true};
  Delegate other;
  open(standardClip(), audible);
  const auto first = player;
  const auto firstSession = session;
  const auto firstSound = recorder;
  recorder = std::make_shared<Recorder>();
  open(standardClip(), audible);
  first->setDelegate(&other);
  delegate.embedded = other.embedded = true;
  delegate.onPauseOthers = [&] {
    if (first->isPlaying()) first->onStart(nullptr);
  };
  other.onPauseOthers = [&] {
    if (player->isPlaying()) player->onStart(nullptr);
  };
  first->onStart(nullptr);
  ASSERT_TRUE(pumpUntil([&] { return firstSound->soundTimes().size() > 5; }));
  player->onStart(nullptr);
  EXPECT_FALSE(first->isPlaying());
  ASSERT_TRUE(pumpUntil([&] { return recorder->soundTimes().size() > 5; }));
  first->onStart(nullptr);
  EXPECT_TRUE(player->pausedByUser());
  ASSERT_TRUE(pumpUntil([&] { return other.count("stop") > 0; }));
  player->onStart(nullptr);
  ASSERT_TRUE(pumpUntil([&] { return delegate.count("stop") > 0; }));
  EXPECT_EQ(firstSound->pcm().size(), recorder->pcm().size());
  first->willDie();
  ::unsetenv("SDL_AUDIODRIVER");
}

}  // namespace

}  // namespace avcapture::test
