// One call of the engine into its listener.
#pragma once

#include <cstdint>
#include <memory>
#include <new>

#include "avcapture/Engine.h"

namespace avcapture {

// How a listener took what it was told.
enum class Told : std::uint8_t { kAll, kNoMemory, kFailed };

// Made with the engine's mutex held, which it lets go of as long as it lives. Keeps the listener's
// owner alive, and who has attached it from detaching, meanwhile.
class SCOPED_CAPABILITY Engine::ListenerCall {
 public:
  ListenerCall(Engine& engine, Which which) RELEASE(engine.mutex_);
  ~ListenerCall() RELEASE();
  ListenerCall(const ListenerCall&) = delete;
  ListenerCall& operator=(const ListenerCall&) = delete;

  platform::Object* sender() const { return sender_; }

  // Lets `give` tell the listener something, if there is anybody. What that throws ends here.
  template <class Give>
  Told tell(const Give& give) const {
    try {
      if (listener_ != nullptr) give(*listener_);
      return Told::kAll;
    } catch (const std::bad_alloc&) {
      return Told::kNoMemory;
    } catch (...) {
      return Told::kFailed;
    }
  }

 private:
  Engine& engine_;
  Call& call_;
  std::shared_ptr<platform::Object> owner_;
  AVStreamDataListener* listener_ = nullptr;
  platform::Object* sender_ = nullptr;
};

}  // namespace avcapture
