// The sound output, heard at its other end: SDL's "disk" driver writes what a device would play
// into a pipe, and stands still while nobody reads it.
#include "avcapture/SdlAudioDevice.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "avcapture/AudioDevice.h"
#include "avcapture/LoadedPart.h"
#include "tests/platform/TemporaryFolder.h"

namespace avcapture {

namespace {

using ::testing::ElementsAre;
using ::testing::Pair;

constexpr SoundFormat kFormat{48000, 1};
constexpr std::size_t kBlockFrames = 4800;  // 100 ms
// What SDL and the pipe may have taken in advance, and more.
constexpr std::size_t kAhead = 2 * kBlockFrames;

// Blocks are told apart by the value of their samples.
void play(AudioDevice& device, std::int16_t value) {
  std::array<std::int16_t, kBlockFrames> samples{};
  samples.fill(value);
  device.play({.format = kFormat,
               .bytes = {reinterpret_cast<std::uint8_t*>(samples.data()), sizeof(samples)}},
              100);
}

class Loudspeaker : public ::testing::Test {
 public:
  void SetUp() override {
    ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
    end_ = ::open(path_.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GT(::fcntl(end_, F_SETPIPE_SZ, 4096), 0);
    ::setenv("SDL_DISKAUDIOFILE", path_.c_str(), 1);
    ::setenv("SDL_DISKAUDIODELAY", "0", 1);
    ::setenv("SDL_AUDIODRIVER", "disk", 1);
  }
  void TearDown() override {
    closeDevice();
    ::close(end_);
    ::unsetenv("SDL_AUDIODRIVER");
  }
  // Listens to the next samples; what was not silence is added to `heard`.
  void listen(std::size_t samples) {
    std::array<std::int16_t, 256> buffer{};
    for (std::size_t left = samples; left > 0;) {
      const std::size_t wanted = std::min(left, buffer.size()) * sizeof(std::int16_t);
      const auto got = static_cast<std::size_t>(::read(end_, buffer.data(), wanted)) / 2;
      std::copy_if(buffer.begin(), buffer.begin() + static_cast<std::ptrdiff_t>(got),
                   std::back_inserter(heard), [](std::int16_t sample) { return sample != 0; });
      left -= got;
    }
  }
  // How much was heard of each value, in order.
  std::vector<std::pair<std::int16_t, std::size_t>> runs() const {
    std::vector<std::pair<std::int16_t, std::size_t>> result;
    for (const std::int16_t sample : heard) {
      if (result.empty() || result.back().first != sample) result.emplace_back(sample, 0);
      ++result.back().second;
    }
    return result;
  }
  // The device ends only when it has got rid of its last samples.
  void closeDevice() {
    std::atomic<bool> closed{false};
    std::thread reader([&] {
      pollfd readable{.fd = end_, .events = POLLIN, .revents = 0};
      while (!closed) {
        if (::poll(&readable, 1, 10) > 0) listen(1);
      }
    });
    device.reset();
    closed = true;
    reader.join();
  }

  std::unique_ptr<AudioDevice> device = std::make_unique<SdlAudioDevice>();
  std::vector<std::int16_t> heard;

 private:
  const TemporaryFolder folder_;
  const std::string path_ = folder_ / "pipe";
  int end_ = -1;
};

TEST_F(Loudspeaker, PauseIsSilentAtOnceAndLosesNothing) {
  for (std::int16_t value = 1; value <= 4; ++value) play(*device, value);
  EXPECT_TRUE(device->sounding());
  device->pause();
  EXPECT_FALSE(device->sounding());
  listen(kAhead);
  const std::size_t before = heard.size();
  EXPECT_LT(before, kAhead);
  listen(kAhead);
  EXPECT_EQ(heard.size(), before);
  play(*device, 5);  // too much: the device is behind already
  EXPECT_TRUE(device->sounding());
  while (heard.size() < 4 * kBlockFrames) listen(256);
  EXPECT_THAT(runs(), ElementsAre(Pair(1, kBlockFrames), Pair(2, kBlockFrames),
                                  Pair(3, kBlockFrames), Pair(4, kBlockFrames)));
}

TEST_F(Loudspeaker, WhatIsClearedIsNotHeard) {
  for (std::int16_t value = 1; value <= 4; ++value) play(*device, value);
  device->clear();
  play(*device, 5);
  while (std::count(heard.begin(), heard.end(), 5) < std::ptrdiff_t{kBlockFrames}) listen(256);
  EXPECT_LT(heard.size(), kBlockFrames + kAhead);
}

// SDL has no place for more than those of 7.1.
TEST_F(Loudspeaker, OfManyChannelsTheFirstEightAreHeard) {
  std::vector<std::int16_t> samples(16 * kBlockFrames);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i] = static_cast<std::int16_t>(i % 16 + 1);
  }
  device->play({.format = {kFormat.rate, 16},
                .bytes = {reinterpret_cast<std::uint8_t*>(samples.data()),
                          samples.size() * sizeof(samples.front())}},
               100);
  ASSERT_TRUE(device->sounding());
  while (heard.size() < 8 * kBlockFrames) listen(256);
  for (std::size_t i = 0; i < heard.size(); ++i) ASSERT_EQ(heard[i], i % 8 + 1) << i;
}

TEST(AudioDevice, AsksAgainAfterAPauseWhereThereWasNone) {
  ::setenv("SDL_AUDIODRIVER", "none such", 1);
  SdlAudioDevice device;
  play(device, 1);
  ::setenv("SDL_AUDIODRIVER", "dummy", 1);
  play(device, 1);
  EXPECT_FALSE(device.sounding());
  device.pause();
  play(device, 1);
  EXPECT_TRUE(device.sounding());
}

TEST(AudioDevice, OneThatWasUnpluggedIsOpenedAnewAfterAPause) {
  const TemporaryFolder folder;
  const std::string other = folder / "other";
  ::setenv("SDL_AUDIODRIVER", "disk", 1);
  ::setenv("SDL_DISKAUDIODELAY", "0", 1);
  ::setenv("SDL_DISKAUDIOFILE", "/dev/full", 1);  // takes a block or two, then no more
  SdlAudioDevice device;
  play(device, 1);
  ::setenv("SDL_DISKAUDIOFILE", other.c_str(), 1);
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (::access(other.c_str(), F_OK) != 0 && std::chrono::steady_clock::now() < limit) {
    play(device, 1);
    EXPECT_TRUE(device.sounding());  // playing goes on either way
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    device.pause();
  }
  EXPECT_EQ(::access(other.c_str(), F_OK), 0);
}

// Does not come back from playing until it is let go.
class Hanging final : public AudioDevice {
 public:
  void play(const SoundBlock& /*block*/, int /*volume*/) override {
    while (!free) std::this_thread::yield();
  }
  void pause() override { ++pauses; }
  void clear() override { ++clears; }

  static inline std::atomic<bool> free{false};
  static inline std::atomic<int> pauses{0}, clears{0};
};

// Seeks go on: what each of them asked for would wait.
TEST(AudioDevice, OneThatHangsIsAskedOnceToForget) {
  const std::unique_ptr<AudioDevice> device = openAudioDevice();
  play(*device, 1);
  for (int i = 0; i < 1000; ++i) device->clear();
  Hanging::free = true;
  device->pause();  // comes after all of them
  while (Hanging::pauses == 0) std::this_thread::yield();
  EXPECT_EQ(Hanging::clears, 1);
}

TEST(AudioDevice, ThreadsComeAndGoWithoutTakingItFromEachOther) {
  // The dummy driver has but one device.
  ::setenv("SDL_AUDIODRIVER", "disk", 1);
  ::setenv("SDL_DISKAUDIOFILE", "/dev/null", 1);
  std::atomic<int> sounding{0};
  const auto comeAndGo = [&] {
    for (int i = 0; i < 20; ++i) {
      SdlAudioDevice device;
      play(device, 1);
      if (device.sounding()) ++sounding;
    }
  };
  std::thread other(comeAndGo);
  comeAndGo();
  other.join();
  EXPECT_EQ(sounding, 40);
}

AudioDevice* makeHanging() { return new Hanging; }

}  // namespace

// In place of the part that brings the machine's own device.
void* findMaker(const char* /*library*/, const char* maker) {
  const bool ofDevices = std::strcmp(maker, "makeAudioDevice") == 0;
  return ofDevices ? reinterpret_cast<void*>(&makeHanging) : nullptr;
}

}  // namespace avcapture
