// The capture session: hands what a player view decodes to a stream listener.
#pragma once

#include <memory>

#include "avcapture/Export.h"
#include "platform/Object.h"
#include "platform/Value.h"

namespace avcapture {

class AVCAPTURE_API LUMAVCaptureSession : public platform::Object {
 public:
  // A session with the parameters of avcapture/Keys.h. It delivers from then on, on two threads of
  // its own. The listener is held weakly: it is kept alive during each call, and not called once it
  // has died. FFmpeg's, unless setFactory has put another maker in its place (null restores it).
  // [main-thread]
  static std::shared_ptr<LUMAVCaptureSession> initWithParams(const platform::Dictionary& params);
  using Factory = std::shared_ptr<LUMAVCaptureSession> (*)(const platform::Dictionary& params);
  static void setFactory(Factory factory);

  // Ends the audio delivery thread if it runs; serves main-thread messages until it has ended.
  // [main-thread]
  virtual void stopAudioDeliverThreadIfNeed() = 0;
};

}  // namespace avcapture
