// A test over the fake framework, on a clock that it steps, with the log since its beginning.
#pragma once

#include <gmock/gmock.h>

#include <memory>

#include "platform/RunLoop.h"
#include "validator/cases/FakeVideoPlayer.h"
#include "validator/cases/TraceLines.h"

class FrameworkTest : public testing::Test {
 protected:
  FrameworkTest() {
    clock();
    FakeFramework::install();
    takeTraceLines();
  }
  ~FrameworkTest() override { FakeFramework::uninstall(); }

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
};
