#include "avcapture/AudioDevice.h"

#include "avcapture/LoadedPart.h"

namespace avcapture {

std::unique_ptr<AudioDevice> openAudioDevice() {
  auto device = makeFromPart<AudioDevice>("libavcapture-sound.so", "makeAudioDevice");
  return device ? std::move(device) : std::make_unique<AudioDevice>();
}

}  // namespace avcapture
