#include "tests/avcapture/Support.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>

#include "avcapture/Keys.h"
#include "tests/platform/TemporaryFolder.h"
#include "tests/support/Process.h"

extern "C" {
#include <libavutil/mathematics.h>
#include <libavutil/md5.h>
#include <libavutil/mem.h>
}

namespace avcapture::test {

namespace {

class Md5 {
 public:
  Md5() : state_(av_md5_alloc()) { av_md5_init(state_); }
  ~Md5() { av_free(state_); }
  Md5(const Md5&) = delete;
  Md5& operator=(const Md5&) = delete;
  void add(const std::uint8_t* bytes, std::size_t size) { av_md5_update(state_, bytes, size); }
  std::string text() {
    std::array<std::uint8_t, 16> sum{};
    av_md5_final(state_, sum.data());
    std::string result;
    for (const std::uint8_t byte : sum) {
      result += "0123456789abcdef"[byte >> 4];
      result += "0123456789abcdef"[byte & 15];
    }
    return result;
  }

 private:
  AVMD5* state_;
};

}  // namespace

std::string output(const std::vector<std::string>& command) {
  const support::Finished finished = support::run(command);
  EXPECT_EQ(finished.status, 0) << command.front() << ": " << finished.err;
  return finished.out;
}

std::string scratchPath(const std::string& name) {
  static const TemporaryFolder folder;
  return folder / name;
}

std::string clip(const std::string& name, const std::string& arguments) {
  std::string path = scratchPath(name);
  if (!std::filesystem::exists(path)) {
    std::vector<std::string> command = support::words("ffmpeg -v error -y " + arguments);
    command.push_back(path);
    output(command);
  }
  return path;
}

void writeFile(const std::string& path, const std::string& contents) {
  std::ofstream(path, std::ios::binary) << contents;
}

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string standardClip() {
  return clip("standard.mp4",
              "-f lavfi -i testsrc2=s=320x240:r=25 -f lavfi -i sine=f=440:r=44100 -t 1 -ac 2 "
              "-c:v libx264 -pix_fmt yuv420p -c:a aac");
}

std::string seekClip() {
  return clip("seek.mp4",
              "-f lavfi -i testsrc2=s=160x120:r=25 -t 4 -c:v libx264 -g 50 -bf 2 -pix_fmt yuv420p");
}

std::ostream& operator<<(std::ostream& out, const Frame& frame) {
  return out << frame.timestamp << "ms " << frame.width << "x" << frame.height << " " << frame.md5;
}

std::vector<Frame> expectedFrames(const std::string& path, const std::string& size) {
  std::istringstream lines(
      // With its sound, as time begins where the first stream does that is used; sizes as they are.
      output(support::words("ffmpeg -v error -threads 1 -i " + path +
                            " -c:a copy -autoscale 0 -fps_mode passthrough -enc_time_base -1 "
                            "-pix_fmt rgb24 -f framemd5 -")));
  Frame frame;
  char times = 0;
  std::istringstream(size) >> frame.width >> times >> frame.height;
  AVRational base{1, 1};
  std::vector<Frame> frames;
  for (std::string line; std::getline(lines, line);) {
    std::istringstream fields(line);
    std::string word;
    if (line.rfind("#tb 0:", 0) == 0) {
      char slash = 0;
      fields >> word >> word >> base.num >> slash >> base.den;
    } else if (line.rfind("0,", 0) == 0) {
      std::replace(line.begin(), line.end(), ',', ' ');
      std::int64_t pts = 0;
      std::istringstream(line) >> word >> word >> pts >> word >> word >> frame.md5;
      frame.timestamp = static_cast<std::uint32_t>(av_rescale_q(pts, base, AVRational{1, 1000}));
      frames.push_back(frame);
    }
  }
  return frames;
}

std::string expectedPcm(const std::string& path) {
  return output({"ffmpeg", "-v", "error", "-i", path, "-vn", "-f", "s16le", "-"});
}

Footprint::Footprint() {
  const auto entries = [](const char* folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
  };
  threads = entries("/proc/self/task");
  files = entries("/proc/self/fd");
}

bool returnsTo(const Footprint& before) {
  return pumpUntil([&] {
    const Footprint now;
    return now.threads == before.threads && now.files == before.files;
  });
}

void Recorder::newImageArrive(void* pixels, std::uint32_t width, std::uint32_t height,
                              std::uint32_t timestamp) {
  if (pixels == nullptr) {
    if (onAnnounced) onAnnounced();
    return;
  }
  if (onImage) onImage();
  Md5 sum;
  const std::size_t row = (std::size_t{width} * 3 + 3) / 4 * 4;
  for (std::uint32_t y = 0; y < height; ++y) {
    sum.add(static_cast<const std::uint8_t*>(pixels) + y * row, std::size_t{width} * 3);
  }
  const std::lock_guard lock(mutex_);
  frames_.push_back({timestamp, width, height, sum.text()});
}

void Recorder::newAudioFramesArrive(platform::Object* /*sender*/, AudioBufferList* list,
                                    std::uint64_t frames, AudioStreamBasicDescription* description,
                                    std::uint32_t timestamp) {
  if (list == nullptr) {
    if (onAnnounced) onAnnounced();
    return;
  }
  if (onSound) onSound();
  const AudioBuffer& buffer = list->mBuffers[0];
  EXPECT_EQ(frames * description->mBytesPerFrame, buffer.mDataByteSize);
  const std::lock_guard lock(mutex_);
  pcm_.append(static_cast<const char*>(buffer.mData), buffer.mDataByteSize);
  soundTimes_.push_back(timestamp);
  description_ = *description;
}

std::vector<Frame> Recorder::frames() const {
  const std::lock_guard lock(mutex_);
  return frames_;
}
std::string Recorder::pcm() const {
  const std::lock_guard lock(mutex_);
  return pcm_;
}
std::vector<std::uint32_t> Recorder::soundTimes() const {
  const std::lock_guard lock(mutex_);
  return soundTimes_;
}
AudioStreamBasicDescription Recorder::description() const {
  const std::lock_guard lock(mutex_);
  return description_;
}

void Recorder::clear() {
  const std::lock_guard lock(mutex_);
  frames_.clear();
  pcm_.clear();
  soundTimes_.clear();
}

std::shared_ptr<LUMAVCaptureSession> sessionOn(const std::shared_ptr<KTVideoPlayer>& player,
                                               const std::shared_ptr<Recorder>& recorder) {
  return LUMAVCaptureSession::initWithParams({{kAVStreamListenerKey, recorder},
                                              {kAVCaptureSessionTypeKey, 1},
                                              {kQuickTimeQTVideoPlayerKey, player}});
}

int Delegate::count(const std::string& call) const {
  return static_cast<int>(std::count(calls.begin(), calls.end(), call));
}
void Delegate::renderMovie(bool rendered) {
  calls.emplace_back(rendered ? "rendered" : "refused");
  if (onRender) onRender();
}
void Delegate::volumeChange(platform::Object* /*sender*/, const platform::Value& volume) {
  calls.push_back("volume " + std::to_string(volume.intValue()));
  elsewhereVolume = volume.intValue();
}

void PlayerTest::open(const std::string& path, PlaybackOptions options) {
  setPlaybackOptions(options);
  player = KTVideoPlayer::newInstance();
  player->setPlayerType(kPlayerTypeSource);
  player->setDelegate(&delegate);
  accepted = player->setMovie(AVURLAsset::assetWithFilePath(path));
  if (!accepted) return;
  session = sessionOn(player, recorder);
}

void PlayerTest::playToTheEnd() {
  player->onStart(nullptr);
  ASSERT_TRUE(pumpUntil([this] { return delegate.count("stop") > 0; }));
}

void PlayerTest::timed(const std::string& name, const std::function<void()>& call) {
  const auto began = std::chrono::steady_clock::now();
  call();
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - began;
  double& longest = longest_[name];
  longest = std::max(longest, took.count());
  RecordProperty(name, std::to_string(longest));
}

void PlayerTest::TearDown() {
  timed("stopping_ms", [this] {
    if (player) player->willDie();
    session.reset();
    player.reset();
  });
  setPlaybackOptions({});
}

}  // namespace avcapture::test
