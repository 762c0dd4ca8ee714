// A player with its bridge over a fake framework, a recording application and a stepped clock.
#pragma once

#include "movara/common/AVUIProxy.h"
#include "tests/movara/common/RecordingSink.h"
#include "validator/cases/FrameworkTest.h"
#include "validator/cases/Listener.h"

class PlayerFixture : public FrameworkTest {
 protected:
  ~PlayerFixture() override {
    releasePlayer();
    advance(1.0);  // what the player left behind ends
  }

  void makePlayer(MM_MEDIASTREAMING_CHANNLE_TYPE type) {
    player = new CAVPlayer(&sink, type);
    sink.player = player;
  }
  // With bridge and view.
  void makeUI(MM_MEDIASTREAMING_CHANNLE_TYPE type) {
    makePlayer(type);
    player->CreateUI();
    view = FakeFramework::view.get();
    bridge = dynamic_cast<AVUIProxy*>(&*view->delegate);
    view->takeCalls();
    takeTraceLines();
  }
  void makeSource() { makeUI(MM_MEDIASTREAMING_CHANNEL_SOURCE); }
  void makeListener() { makeUI(MM_MEDIASTREAMING_CHANNEL_LISTENER); }
  void makeSide(bool source) {
    makeUI(source ? MM_MEDIASTREAMING_CHANNEL_SOURCE : MM_MEDIASTREAMING_CHANNEL_LISTENER);
  }
  void releasePlayer() {
    if (player == nullptr) return;
    sink.player = nullptr;
    player->setSink(nullptr);
    player->release();
    player = nullptr;
  }

  RecordingSink sink;
  CAVPlayer* player = nullptr;
  FakeVideoPlayer* view = nullptr;
  AVUIProxy* bridge = nullptr;
};
