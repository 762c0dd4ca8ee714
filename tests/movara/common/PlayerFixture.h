// A player with its bridge over a fake framework, a recording application and a stepped clock.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "avcapture/Keys.h"
#include "movara/common/AVUIProxy.h"
#include "platform/RunLoop.h"
#include "tests/movara/TraceLines.h"
#include "tests/movara/common/FakeVideoPlayer.h"
#include "tests/movara/common/Listener.h"
#include "tests/movara/common/RecordingSink.h"

class PlayerFixture : public ::testing::Test {
 protected:
  PlayerFixture() {
    clock();
    FakeFramework::install();
    takeTraceLines();
  }
  ~PlayerFixture() override {
    releasePlayer();
    advance(1.0);  // what the player left behind ends
    FakeFramework::uninstall();
  }

  static std::shared_ptr<platform::ManualClock> clock() {
    static const auto instance = [] {
      auto manual = std::make_shared<platform::ManualClock>();
      platform::RunLoop::main().setClock(manual);
      return manual;
    }();
    return instance;
  }
  static void advance(double seconds, platform::Mode mode = platform::kDefaultRunLoopMode) {
    clock()->advance(platform::seconds(seconds));
    platform::RunLoop::main().runReady(mode);
  }
  static void runMainThread() { platform::RunLoop::main().runReady(); }

  void makePlayer(MM_MEDIASTREAMING_CHANNLE_TYPE type) {
    player = new CAVPlayer(&sink, type);
    sink.player = player;
  }
  // With bridge and view.
  void makeUI(MM_MEDIASTREAMING_CHANNLE_TYPE type) {
    makePlayer(type);
    player->CreateUI();
    view = FakeFramework::view.get();
    bridge = dynamic_cast<AVUIProxy*>(view->delegate);
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
