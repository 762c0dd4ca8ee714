#include "avcapture/AudioDevice.h"

#include <atomic>
#include <cstdint>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

#include "avcapture/LoadedPart.h"
#include "avcapture/SideThread.h"

namespace avcapture {

namespace {

// A third of a second, in blocks of 20 ms: whose device has not taken that yet is left without.
constexpr int kMostWaiting = 16;

// A device that may take its time, or hang: it is asked on a thread of its own.
class DeviceAside final : public AudioDevice {
 public:
  explicit DeviceAside(std::unique_ptr<AudioDevice> device) : device_(std::move(device)) {}
  ~DeviceAside() override {
    ask([device = std::move(device_)] {});  // whose end may take as long; who lets go last ends it
  }

  void play(const SoundBlock& block, int volume) override {
    if (*waiting_ >= kMostWaiting) return;
    sounding_ = holds_ = true;
    ask([device = device_, block = SoundBlock(block),
         bytes = std::vector(block.bytes.begin(), block.bytes.end()), volume]() mutable {
      block.bytes = bytes;
      device->play(block, volume);
    });
  }
  void pause() override {
    sounding_ = false;
    ask([device = device_] { device->pause(); });
  }
  bool sounding() const override { return sounding_; }
  void clear() override {
    sounding_ = false;
    // Once is enough, however often: a device that hangs would be asked more and more.
    if (holds_) holds_ = !ask([device = device_] { device->clear(); });
  }

 private:
  // False when there is no memory for it: it is left out.
  template <class Wish>
  bool ask(Wish wish) {
    try {
      thread_.post([waiting = waiting_, wish = std::move(wish)]() mutable {
        try {
          wish();
        } catch (const std::bad_alloc&) {
        }
        --*waiting;
        return 0;
      });
      ++*waiting_;
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

  // Of what was asked for, how much has not been done.
  const std::shared_ptr<std::atomic<int>> waiting_ = std::make_shared<std::atomic<int>>(0);
  bool sounding_ = false;
  bool holds_ = false;  // something that clear() would make it forget
  std::shared_ptr<AudioDevice> device_;
  SideThread thread_{"av-speaker"};
};

}  // namespace

std::unique_ptr<AudioDevice> openAudioDevice() {
  auto device = makeFromPart<AudioDevice>("libavcapture-sound.so", "makeAudioDevice");
  try {
    if (device) return std::make_unique<DeviceAside>(std::move(device));
  } catch (const std::system_error&) {  // no thread for it
  }
  return std::make_unique<AudioDevice>();
}

}  // namespace avcapture
