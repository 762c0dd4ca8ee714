// The player view's controls: what they do to the movie and what the delegate hears of it.
#include <gmock/gmock.h>

#include <cmath>

#include "tests/avcapture/Support.h"
#include "tests/support/Sanitizers.h"

namespace avcapture::test {

namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;

using Controls = PlayerTest;

// A user's actions: s start (toggles), S stop, a end allowed, n start not allowed, e embedded.
struct Walk {
  const char* actions;
  bool playing, paused, refused;
  std::vector<std::string> calls;
};

TEST_F(Controls, FollowTheUser) {
  const Walk walks[] = {
      {"", false, false, false, {}},
      {"s", true, false, false, {"play"}},
      {"ss", false, true, false, {"play", "pause"}},
      {"sss", true, false, false, {"play", "pause", "play"}},
      {"S", false, false, false, {"stop"}},
      {"sS", false, false, false, {"play", "stop"}},
      {"ssS", false, false, false, {"play", "pause", "stop"}},
      {"sSs", true, false, false, {"play", "stop", "play"}},
      {"ns", false, false, true, {}},
      {"nsas", true, false, false, {"play"}},
      {"es", true, false, false, {"pauseOthers", "hideOthers", "play"}},
      {"sns", false, true, false, {"play", "pause"}},
  };
  for (const Walk& walk : walks) {
    SCOPED_TRACE(walk.actions);
    delegate.playAllowed = true;
    delegate.embedded = false;
    openPaced(seekClip());
    delegate.calls.clear();
    for (const char action : std::string(walk.actions)) {
      if (action == 's') player->onStart(nullptr);
      if (action == 'S') player->onStop(nullptr);
      if (action == 'n' || action == 'a') delegate.playAllowed = action == 'a';
      if (action == 'e') delegate.embedded = true;
    }
    EXPECT_EQ(player->isPlaying(), walk.playing);
    EXPECT_EQ(player->pausedByUser(), walk.paused);
    EXPECT_EQ(player->notAllowPlayStaus(), walk.refused);
    EXPECT_THAT(delegate.calls, ElementsAreArray(walk.calls));
    player->willDie();
  }
}

TEST_F(Controls, EndOfMovieStopsAtTheEndAndStartsAgainFromTheBeginning) {
  open(standardClip());
  playToTheEnd();
  EXPECT_FALSE(player->isPlaying());
  EXPECT_FALSE(player->pausedByUser());
  EXPECT_EQ(player->duration(), 1);
  EXPECT_NEAR(player->currentTime(), 1.0, 0.1);
  EXPECT_GE(player->currentTime(), 1.0);
  delegate.calls.clear();
  playToTheEnd();
  EXPECT_THAT(delegate.calls, ElementsAre("play", "stop"));
  const std::vector<Frame> frames = recorder->frames();
  ASSERT_EQ(frames.size(), 50U);
  EXPECT_TRUE(std::equal(frames.begin(), frames.begin() + 25, frames.begin() + 25));
}

// Also where the first packet of sound begins before the movie and is cut to fit.
TEST_F(Controls, SoundIsTheSameFromTheBeginningAgain) {
  const std::string path =
      clip("primed.mp4", "-f lavfi -i sine=f=440:r=44100 -t 1 -ac 2 -c:a libmp3lame");
  const std::string whole = output({"ffmpeg", "-v", "error", "-i", path, "-f", "s16le", "-"});
  open(path);
  for (int i = 0; i < 10 && !HasFailure(); ++i) {
    const std::size_t before = recorder->pcm().size();
    if (i % 2 == 1) player->onStop(nullptr);
    delegate.calls.clear();
    playToTheEnd();
    EXPECT_TRUE(recorder->pcm().substr(before) == whole) << "in round " << i;
  }
}

TEST_F(Controls, StartingAgainAtTheEndDeliversNoStill) {
  open(clip("three.mp4", "-f lavfi -i testsrc2=s=64x48:r=25 -frames:v 3 -c:v libx264"));
  for (int i = 0; i < 100 && !HasFailure(); ++i) {
    delegate.calls.clear();
    playToTheEnd();
    EXPECT_EQ(stills(), 0U) << "in round " << i;
  }
}

TEST_F(Controls, StaleEndDoesNotStopAfterASeek) {
  open(seekClip());
  player->onStart(nullptr);
  // The end is on its way to the main thread, which does not look.
  while (player->statistics().framesDelivered < 100) std::this_thread::yield();
  player->seek(2.0F);
  ASSERT_TRUE(pumpUntil([&] { return player->statistics().framesDelivered >= 150; }));
  ASSERT_TRUE(pumpUntil([&] { return delegate.count("stop") > 0; }));
  EXPECT_THAT(delegate.calls, ElementsAre("rendered", "play", "skip", "stop"));
}

TEST_F(Controls, PauseAtTheVeryEndStillEndsWhenResumed) {
  open(seekClip());
  player->onStart(nullptr);
  while (player->statistics().framesDelivered < 100) std::this_thread::yield();
  player->onStart(nullptr);
  player->onStart(nullptr);
  ASSERT_TRUE(pumpUntil([&] { return delegate.count("stop") > 0; }));
  EXPECT_EQ(delegate.count("stop"), 1);
}

TEST_F(Controls, SeekWhileStandingDeliversExactlyThePictureOfThatTime) {
  const std::vector<Frame> all = expectedFrames(seekClip(), "160x120");
  openPaced(seekClip());
  int skips = 0;
  for (const float target : {1.0F, 0.0F, 2.02F, 3.99F, 0.5F, 99.0F, -5.0F, 1.99F, std::nanf("")}) {
    SCOPED_TRACE(target);
    player->seek(target);
    ++skips;
    ASSERT_TRUE(pumpUntil([&] { return delegate.count("skip") == skips; }));
    const double wanted = std::isnan(target) ? 0.0 : std::clamp(double{target} * 1000, 0.0, 3999.0);
    const auto after = std::find_if(all.begin(), all.end(),
                                    [&](const Frame& frame) { return frame.timestamp > wanted; });
    EXPECT_EQ(recorder->frames().back(), *std::prev(after));
    EXPECT_EQ(recorder->frames().size(), static_cast<std::size_t>(skips));
    EXPECT_EQ(player->statistics().stillsDelivered, static_cast<std::size_t>(skips));
    EXPECT_EQ(player->invalidImageBufferCount(), 1);
  }
  EXPECT_EQ(player->statistics().framesDelivered, 0U);
}

// What the decoder's own threads do to one another the sanitizer does not see: their library was
// built without it.
constexpr int kMostThreads = kThreadSanitizer ? 1 : 2;

// Also where pictures last differently long, and the one that is sought depends on others or others
// on it.
TEST_F(Controls, SeekFindsEveryPicture) {
  const std::string path =
      clip("uneven.mp4",
           "-f lavfi -i testsrc2=s=160x120:r=25 -t 3 -vf select='gt(mod(n*7,11),3)' -fps_mode vfr "
           "-c:v libx264 -g 40 -bf 4 -b-pyramid normal -pix_fmt yuv420p");
  const std::vector<Frame> all = expectedFrames(path, "160x120");
  for (int threads = 1; threads <= kMostThreads; ++threads) {
    SCOPED_TRACE(threads);
    delegate.calls.clear();
    recorder = std::make_shared<Recorder>();
    open(path, {.paced = true, .decoderThreads = threads, .localSound = false});
    for (std::size_t i = 0; i < all.size(); ++i) {
      const Frame& wanted = all[i * 17 % all.size()];
      player->seek((static_cast<float>(wanted.timestamp) + 2.0F) / 1000.0F);
      ASSERT_TRUE(pumpUntil([&] { return delegate.count("skip") == static_cast<int>(i) + 1; }));
      EXPECT_EQ(recorder->frames().back(), wanted);
    }
    TearDown();
  }
}

// Containers that know little about where things are.
TEST_F(Controls, SeekIsExactInEveryContainer) {
  const std::pair<const char*, const char*> containers[] = {
      {"seek.ts", "-c copy"},   {"seek.mpg", "-c:v mpeg2video -g 50 -bf 2"},
      {"seek.h264", "-c copy"}, {"seek.mkv", "-c copy"},
      {"seek.nut", "-c copy"},
  };
  for (const auto& [name, how] : containers) {
    SCOPED_TRACE(name);
    const std::string path = clip(name, "-i " + seekClip() + " " + how);
    const std::vector<Frame> all = expectedFrames(path, "160x120");
    delegate.calls.clear();
    recorder = std::make_shared<Recorder>();
    openPaced(path);
    int skips = 0;
    for (const float target : {1.0F, 3.5F, 0.2F, 2.02F, 0.0F, 3.9F}) {
      SCOPED_TRACE(target);
      player->seek(target);
      ++skips;
      ASSERT_TRUE(pumpUntil([&] { return delegate.count("skip") == skips; }));
      const auto wanted = static_cast<std::size_t>(target * 25 + 0.001F);
      ASSERT_FALSE(recorder->frames().empty());
      EXPECT_EQ(recorder->frames().back().md5, all[wanted].md5)
          << recorder->frames().back() << ", not " << all[wanted];
    }
    TearDown();
  }
}

TEST_F(Controls, LastSeekOfAStormWins) {
  const std::vector<Frame> all = expectedFrames(seekClip(), "160x120");
  openPaced(seekClip());
  for (int i = 0; i < 1000; ++i) player->seek(static_cast<float>(i * 37 % 60) / 10.0F - 1.0F);
  player->seek(2.0F);
  ASSERT_TRUE(pumpUntil([&] {
    const std::vector<Frame> frames = recorder->frames();
    return delegate.count("skip") > 0 && !frames.empty() && frames.back() == all[50];
  }));
  EXPECT_EQ(player->currentTime(), 2.0F);
  // What plays on from there is the rest of the movie, without a false end.
  EXPECT_EQ(delegate.count("stop"), 0);
}

TEST_F(Controls, SeekWhilePlayingGoesOnFromThere) {
  open(seekClip());
  const std::vector<Frame> all = expectedFrames(seekClip(), "160x120");
  std::atomic<bool> held{true};
  recorder->onImage = [&] { held.wait(true); };
  player->onStart(nullptr);
  player->seek(3.0F);  // while the first picture, if any yet, is being delivered
  held = false;
  held.notify_all();
  ASSERT_TRUE(pumpUntil([&] { return delegate.count("stop") > 0; }));
  const std::vector<Frame> frames = recorder->frames();
  ASSERT_GE(frames.size(), 25U);
  EXPECT_LE(frames.size(), 26U);
  EXPECT_THAT(std::vector<Frame>(frames.end() - 25, frames.end()),
              ElementsAreArray(all.begin() + 75, all.end()));
  EXPECT_EQ(delegate.count("skip"), 1);
}

// To the bit, also where a block of sound needs those before it.
TEST_F(Controls, SoundStartsExactlyAtASeeksTarget) {
  const std::string noise = "-f lavfi -i anoisesrc=r=48000:a=0.3:seed=1 -t 4 ";
  const std::string paths[] = {
      clip("ramp.wav", "-f lavfi -i aevalsrc='(mod(n,32768))/32768':s=48000 -t 4"),
      clip("noise.m4a", noise + "-c:a aac -aac_pns 0"),
      clip("noise.mp3", noise + "-c:a libmp3lame"),
      clip("noise.ogg", noise + "-c:a libvorbis"),
  };
  for (const std::string& path : paths) {
    SCOPED_TRACE(path);
    recorder->clear();
    delegate.calls.clear();
    open(path);
    player->seek(2.5F);
    player->onStart(nullptr);
    ASSERT_TRUE(pumpUntil([&] { return delegate.count("stop") > 0; }));
    EXPECT_TRUE(recorder->pcm() == expectedPcm(path).substr(2 * 120'000)) << recorder->pcm().size();
    EXPECT_EQ(recorder->soundTimes().front(), 2500U);
    EXPECT_EQ(delegate.count("skip"), 1);
    TearDown();
  }
}

TEST_F(Controls, FirstPictureShowsInTheViewBeforeAnybodyListens) {
  openPaced(standardClip());
  ASSERT_TRUE(pumpUntil([&] { return player->renderView()->contents() != nullptr; }));
  EXPECT_EQ(player->renderView()->contents()->width, 320U);
  EXPECT_TRUE(recorder->frames().empty());
}

TEST_F(Controls, LatestPictureIsDeliveredAgainUnlessPlaying) {
  openPaced(seekClip());
  std::atomic<int> invalidSeen{-1};
  recorder->onImage = [&] { invalidSeen = player->invalidImageBufferCount(); };
  player->deliverLatestImageAgain();  // nothing has been shown yet: the first
  ASSERT_TRUE(pumpUntil([&] { return recorder->frames().size() == 1; }));
  EXPECT_EQ(invalidSeen, 1);
  player->deliverLatestImageAgain();
  ASSERT_TRUE(pumpUntil([&] { return recorder->frames().size() == 2; }));
  EXPECT_EQ(recorder->frames()[0], recorder->frames()[1]);
  EXPECT_EQ(delegate.count("prepare"), 2);

  player->onStart(nullptr);
  player->deliverLatestImageAgain();
  EXPECT_EQ(delegate.count("prepare"), 2);
  ASSERT_TRUE(pumpUntil([&] { return player->statistics().framesDelivered >= 3; }));
  EXPECT_EQ(invalidSeen, 0);
  EXPECT_EQ(stills(), 2U);

  player->onStart(nullptr);  // the pause delivers what shows
  ASSERT_TRUE(pumpUntil([&] { return stills() == 3; }));
  ASSERT_TRUE(pumpUntil(
      [&] { return recorder->frames().size() == 3 + player->statistics().framesDelivered; }));
  const std::vector<Frame> frames = recorder->frames();
  EXPECT_EQ(frames[frames.size() - 1], frames[frames.size() - 2]);
}

TEST_F(Controls, PauseAndResumeLoseAndRepeatNothing) {
  open(seekClip());
  std::atomic<int> images{0};
  recorder->onImage = [&] { ++images; };
  player->onStart(nullptr);
  for (int i = 0; i < 20 && player->isPlaying(); ++i) {
    const int seen = images;
    ASSERT_TRUE(pumpUntil([&] { return images > seen || !player->isPlaying(); }));
    if (!player->isPlaying()) break;
    player->onStart(nullptr);
    player->onStart(nullptr);
  }
  ASSERT_TRUE(pumpUntil([&] { return delegate.count("stop") > 0; }));
  EXPECT_EQ(player->statistics().framesDelivered, 100U);
  EXPECT_EQ(player->statistics().framesDropped, 0U);
}

TEST_F(Controls, VolumeGoesToTheDelegateIn255ths) {
  openPaced(standardClip());
  delegate.calls.clear();
  for (const int volume : {50, 0, 250, -3}) player->onChangeVolume(volume);
  EXPECT_EQ(player->volume(), 0);
  player->onUnMute({});
  EXPECT_EQ(player->volume(), 100);
  player->onUnMute({});  // it is not mute
  EXPECT_THAT(delegate.calls,
              ElementsAre("volume 127", "volume 0", "volume 255", "volume 0", "volume 255"));
}

TEST_F(Controls, ListenerViewAnswersFromItsDelegate) {
  player = KTVideoPlayer::newInstance();
  player->setPlayerType(kPlayerTypeListener);
  player->setDelegate(&delegate);
  delegate.playingElsewhere = true;
  EXPECT_TRUE(player->isPlaying());
  EXPECT_FALSE(player->pausedByUser());
  EXPECT_EQ(player->currentTime(), 7.5F);
  EXPECT_EQ(player->fps(), 12.5);
  player->setDuration(61.5F);
  EXPECT_EQ(player->duration(), 61);
  player->setMediaType(kMediaTypeAudio);
  EXPECT_EQ(player->mediaType(), kMediaTypeAudio);
  player->onStart(nullptr);
  delegate.playingElsewhere = false;
  player->onStart(nullptr);
  player->onUnMute({});
  player->setDelegate(nullptr);
  EXPECT_FALSE(player->isPlaying());
  EXPECT_THAT(delegate.calls, ElementsAre("pause", "play", "volume 255"));
}

TEST_F(Controls, ContainerFillsItsSuperviewAndIsFoundInIt) {
  openPaced(standardClip());
  platform::View window({{0, 0}, {640, 480}});
  const auto inner = std::make_shared<platform::View>(platform::Rect{{10, 10}, {320, 200}});
  window.addSubview(inner);
  EXPECT_EQ(KTVideoPlayer::inView(window), nullptr);
  player->attachToSuperView(inner.get());
  EXPECT_EQ(KTVideoPlayer::inView(window), player);
  const platform::Rect all{{0, 0}, {320, 200}};
  EXPECT_EQ(player->containerView()->frame(), all);
  EXPECT_EQ(player->renderView()->frame(), all);
  inner->setFrame({{0, 0}, {100, 50}});
  EXPECT_EQ(player->renderView()->frame(), (platform::Rect{{0, 0}, {100, 50}}));
  player->attachToSuperView(nullptr);
  EXPECT_EQ(player->containerView()->superview(), nullptr);
}

}  // namespace

}  // namespace avcapture::test
