// One call of the engine into its listener.
#pragma once

#include <memory>

#include "avcapture/Engine.h"

namespace avcapture {

// Made with the engine's mutex held, which it lets go of as long as it lives. Keeps the listener's
// owner alive, and who has attached it from detaching, meanwhile.
class SCOPED_CAPABILITY Engine::ListenerCall {
 public:
  ListenerCall(Engine& engine, Which which) RELEASE(engine.mutex_);
  ~ListenerCall() RELEASE();
  ListenerCall(const ListenerCall&) = delete;
  ListenerCall& operator=(const ListenerCall&) = delete;

  // Null when there is nobody to be called.
  AVStreamDataListener* listener() const { return listener_; }
  platform::Object* sender() const { return sender_; }

 private:
  Engine& engine_;
  Call& call_;
  std::shared_ptr<platform::Object> owner_;
  AVStreamDataListener* listener_ = nullptr;
  platform::Object* sender_ = nullptr;
};

}  // namespace avcapture
