// Capture sessions that take one another's place on a player.
#include <atomic>
#include <functional>
#include <mutex>
#include <set>
#include <thread>

#include "tests/avcapture/Support.h"

namespace avcapture::test {

namespace {

using Sessions = PlayerTest;

std::string plainSoundClip() {
  return clip("plain.mkv",
              "-f lavfi -i testsrc2=s=64x48:r=25 -f lavfi -i sine=f=440:r=44100 -t 1 -c:v libx264 "
              "-c:a pcm_s16le");
}

TEST_F(Sessions, SessionThatFollowsAnotherGetsPictureAndSound) {
  const std::string path = plainSoundClip();
  const std::string whole = expectedPcm(path);
  using Follow = void (*)(Sessions&, const std::shared_ptr<Recorder>&);
  const Follow follows[] = {
      [](Sessions& test, const std::shared_ptr<Recorder>& next) {
        test.session.reset();
        test.session = sessionOn(test.player, next);
      },
      [](Sessions& test, const std::shared_ptr<Recorder>& next) {
        test.session = sessionOn(test.player, next);  // the old one ends afterwards
      },
      [](Sessions& test, const std::shared_ptr<Recorder>& next) {
        test.session->stopAudioDeliverThreadIfNeed();
        test.session = sessionOn(test.player, next);
        test.session->stopAudioDeliverThreadIfNeed();
        test.session = sessionOn(test.player, next);
      },
  };
  for (const Follow follow : follows) {
    const auto next = std::make_shared<Recorder>();
    delegate.calls.clear();
    open(path);
    follow(*this, next);
    playToTheEnd();
    EXPECT_TRUE(recorder->pcm().empty());
    EXPECT_TRUE(next->pcm() == whole) << next->pcm().size();
    EXPECT_GE(next->frames().size(), 25U);
    TearDown();
  }
}

// Who hears, on how many threads.
class Hearer : public Recorder {
 public:
  Hearer() {
    onSound = [this] {
      const std::lock_guard lock(mutex_);
      threads_.insert(std::this_thread::get_id());
    };
  }
  std::size_t threads() const {
    const std::lock_guard lock(mutex_);
    return threads_.size();
  }

 private:
  mutable std::mutex mutex_;
  std::set<std::thread::id> threads_;
};

// Sound goes to whoever came last, once, however they come while its thread is still in a call of
// the one before.
TEST_F(Sessions, SoundComesOnOneThreadWhoeverFollows) {
  const std::string path = plainSoundClip();
  std::shared_ptr<LUMAVCaptureSession> others[2];
  std::shared_ptr<Hearer> hearers[2];
  std::atomic<bool> mayLeave{false};
  const auto letGo = [&] { mayLeave = true; };
  const auto follow = [&](int i) { others[i] = sessionOn(player, hearers[i]); };
  struct Case {
    const char* what;
    std::function<void()> withinTheCall, onMain;
  };
  const Case cases[] = {
      {"it ends within the call, and another follows", [&] { session.reset(); },
       [&] {
         platform::dispatchOnMainThread(letGo);
         follow(1);
         EXPECT_TRUE(mayLeave) << "did not wait for the call";
       }},
      {"it ends, and two follow while the end of the call is waited for", [] {},
       [&] {
         platform::dispatchOnMainThread([&] { follow(0); });
         platform::dispatchOnMainThread([&] {
           mayLeave = true;
           follow(1);
         });
         session.reset();
       }},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.what);
    for (auto& hearer : hearers) hearer = std::make_shared<Hearer>();
    mayLeave = false;
    open(path);
    std::atomic<bool> inside{false};
    recorder->onSound = [&] {
      if (inside) return;
      each.withinTheCall();
      inside = true;
      while (!mayLeave) std::this_thread::yield();
    };
    player->onStart(nullptr);
    while (!inside) std::this_thread::yield();
    each.onMain();
    mayLeave = true;
    player->seek(0);  // pictures may have gone any way meanwhile
    delegate.calls.clear();
    if (!player->isPlaying()) player->onStart(nullptr);
    ASSERT_TRUE(pumpUntil([&] { return delegate.count("stop") > 0; }));
    EXPECT_EQ(hearers[0]->threads(), 0U);
    EXPECT_EQ(hearers[1]->threads(), 1U);
    EXPECT_TRUE(hearers[1]->pcm().ends_with(expectedPcm(path))) << hearers[1]->pcm().size();
    for (auto& other : others) other.reset();
    TearDown();
  }
}

// Sound comes back in the middle of the movie, from where it is.
TEST_F(Sessions, SoundFollowsTheMovieWhenItsThreadComesBack) {
  openPaced(standardClip());
  player->onStart(nullptr);
  ASSERT_TRUE(pumpUntil([&] { return player->currentTime() > 0.2F; }));
  session.reset();
  const auto next = std::make_shared<Recorder>();
  session = sessionOn(player, next);
  ASSERT_TRUE(pumpUntil([&] { return delegate.count("stop") > 0; }));
  ASSERT_FALSE(next->soundTimes().empty());
  EXPECT_GE(next->soundTimes().front(), 200U);
  EXPECT_GE(next->soundTimes().back(), 960U);
  EXPECT_EQ(delegate.count("stop"), 1);
}

}  // namespace

}  // namespace avcapture::test
