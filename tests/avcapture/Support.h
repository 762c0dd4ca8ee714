// What the tests of the capture framework share: clips made on the spot, a listener that writes
// down what it is given, a delegate that writes down what it is told, and a player between them.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "avcapture/KTVideoPlayer.h"
#include "avcapture/LUMAVCaptureSession.h"
#include "avcapture/Protocols.h"
#include "platform/RunLoop.h"
#include "tests/support/Pump.h"

namespace avcapture::test {

// Runs a program, answers its standard output; fails the test when it does not exit with 0.
std::string output(const std::vector<std::string>& command);
// A path in a folder that is removed when the tests have ended.
std::string scratchPath(const std::string& name);
// The path of a clip made by ffmpeg with these arguments (split at blanks); made once a name.
std::string clip(const std::string& name, const std::string& arguments);
void writeFile(const std::string& path, const std::string& contents);
std::string contentsOf(const std::string& path);

// A second of moving picture with sound: 25 pictures of 320x240, 44.1 kHz stereo.
std::string standardClip();
// Four seconds with few key frames, without sound.
std::string seekClip();

struct Frame {
  std::uint32_t timestamp = 0;
  std::uint32_t width = 0, height = 0;
  std::string md5;  // of the pixels without row padding
  friend bool operator==(const Frame&, const Frame&) = default;
};
std::ostream& operator<<(std::ostream& out, const Frame& frame);
// What the ffmpeg program makes of the file's picture.
std::vector<Frame> expectedFrames(const std::string& path, const std::string& size);
// What it makes of the file's sound: interleaved 16-bit PCM.
std::string expectedPcm(const std::string& path);

using support::pumpUntil;

// Threads and open files of this process. The kernel may show a joined thread a moment longer.
struct Footprint {
  Footprint();
  std::ptrdiff_t threads, files;
};
// Serves the main run loop until the process is back there; whether it got there.
bool returnsTo(const Footprint& before);

class Recorder : public platform::Object, public AVStreamDataListener {
 public:
  void newImageArrive(void* pixels, std::uint32_t width, std::uint32_t height,
                      std::uint32_t timestamp) override;
  void newAudioFramesArrive(platform::Object* sender, AudioBufferList* list, std::uint64_t frames,
                            AudioStreamBasicDescription* description,
                            std::uint32_t timestamp) override;
  std::vector<Frame> frames() const;
  std::string pcm() const;
  std::vector<std::uint32_t> soundTimes() const;
  AudioStreamBasicDescription description() const;
  void clear();

  // Called on the delivery threads before anything is written down.
  std::function<void()> onImage, onSound;
  std::function<void()> onAnnounced;  // for a picture or a sound to come

 private:
  mutable std::mutex mutex_;
  std::vector<Frame> frames_;
  std::string pcm_;
  std::vector<std::uint32_t> soundTimes_;
  AudioStreamBasicDescription description_{};
};

// A session on the player, delivering to `recorder`.
std::shared_ptr<LUMAVCaptureSession> sessionOn(const std::shared_ptr<KTVideoPlayer>& player,
                                               const std::shared_ptr<Recorder>& recorder);

class Delegate final : public KTVideoPlayerDelegate {
 public:
  std::vector<std::string> calls;  // in order
  bool playAllowed = true;
  bool embedded = false;
  bool playingElsewhere = false;
  std::int64_t elsewhereVolume = 0;
  float position = 7.5F;
  std::function<void()> onRender, onAskedToPlay, onPauseOthers;

  int count(const std::string& call) const;
  void renderMovie(bool rendered) override;
  void volumeChange(platform::Object* sender, const platform::Value& volume) override;
  void onPlay(platform::Object*) override { calls.emplace_back("play"); }
  void onPause(platform::Object*) override { calls.emplace_back("pause"); }
  void onStop(platform::Object*) override { calls.emplace_back("stop"); }
  void onSkip(platform::Object*) override { calls.emplace_back("skip"); }
  void toggleFullscreen(platform::Object*) override { calls.emplace_back("fullscreen"); }
  void prepareDeliverLastestImageAgain() override { calls.emplace_back("prepare"); }
  bool allowEnterFIT() override { return true; }
  bool allow2Play() override {
    if (onAskedToPlay) onAskedToPlay();
    return playAllowed;
  }
  void hideOtherEmbedCtrlbarWindow() override { calls.emplace_back("hideOthers"); }
  float fps() override { return 12.5F; }
  bool isPlaying() override { return playingElsewhere; }
  bool pausedByUser() override { return !playingElsewhere; }
  float currentTime() override { return position; }
  float duration() override { return 60.0F; }
  platform::Size mediaSize() override { return {}; }
  std::int32_t mediaType() override { return 3; }
  bool isEmbed() override { return embedded; }
  std::int64_t volume() override { return elsewhereVolume; }
  void active() override {}
  void deactive() override {}
  void pauseEmbedPlayer() override {
    calls.emplace_back("pauseOthers");
    if (onPauseOthers) onPauseOthers();
  }
  bool isPresenter() override { return true; }
};

// A player view with its delegate, and a session that delivers to a recorder.
class PlayerTest : public ::testing::Test {
 public:
  // Unpaced and silent unless a test wants otherwise.
  void open(const std::string& path,
            PlaybackOptions options = {.paced = false, .decoderThreads = 1, .localSound = false});
  void openPaced(const std::string& path) {
    open(path, {.paced = true, .decoderThreads = 1, .localSound = false});
  }
  void playToTheEnd();
  // Makes a call, and keeps the longest time that one of its name took as a property of the test,
  // in milliseconds: how long is too long is not judged here, where much else may run.
  void timed(const std::string& name, const std::function<void()>& call);
  std::size_t stills() { return player->statistics().stillsDelivered; }
  void TearDown() override;

  Delegate delegate;
  std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
  std::shared_ptr<KTVideoPlayer> player;
  std::shared_ptr<LUMAVCaptureSession> session;
  bool accepted = false;

 private:
  std::map<std::string, double> longest_;
};

}  // namespace avcapture::test
