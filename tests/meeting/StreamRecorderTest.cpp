// What the recorder makes of what the presenter says, and when it tells of it.
#include "meeting/StreamRecorder.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "platform/RunLoop.h"

namespace meeting {
namespace {

class StreamRecorderTest : public testing::Test {
 protected:
  StreamRecorderTest() {
    recorder_->setStateChanged([this](StreamState state) { told_.push_back(state); });
    recorder_->setPictureWanted([this] { ++wanted_; });
  }
  static void turn() {
    while (platform::RunLoop::main().runReady() > 0) {
    }
  }

  std::vector<StreamState> told_;
  int wanted_ = 0;
  std::unique_ptr<StreamRecorder> recorder_ =
      std::make_unique<StreamRecorder>(std::make_shared<platform::SteadyClock>(), nullptr);
};

TEST_F(StreamRecorderTest, StatesAreKeptAtOnceAndToldLater) {
  struct Case {
    MM_MEDIASTREAMING_SOURCE_STATUS status;
    std::int64_t position;
    StreamState state;
    std::int64_t kept;
  };
  const Case cases[] = {
      {MM_MEDIASTREAMING_PLAY, 10, StreamState::playing, 10},
      {MM_MEDIASTREAMING_PD_INACTIVE, 0, StreamState::playing, 10},
      {MM_MEDIASTREAMING_PD_ACTIVE, 0, StreamState::playing, 10},
      {MM_MEDIASTREAMING_PAUSE, 20, StreamState::paused, 20},
      {MM_MEDIASTREAMING_STOP, 0, StreamState::stopped, 0},
  };
  recorder_->onRegistered(9000, MM_MEDIASTREAMING_MEDIACONTENT_VIDEO);
  EXPECT_EQ(recorder_->durationMs(), 9000U);
  recorder_->onJoined();
  EXPECT_EQ(recorder_->state(), StreamState::joined);
  for (const Case& test : cases) {
    recorder_->onSourceStatus(test.status, test.position);
    EXPECT_EQ(recorder_->state(), test.state);
    EXPECT_EQ(recorder_->positionMs(), test.kept);
  }
  EXPECT_TRUE(told_.empty()) << "not from within the presenter's request";
  turn();
  EXPECT_EQ(told_, (std::vector{StreamState::registered, StreamState::joined, StreamState::playing,
                                StreamState::paused, StreamState::stopped}));
}

TEST_F(StreamRecorderTest, APictureIsAskedForLater) {
  recorder_->onPictureWanted();
  EXPECT_EQ(wanted_, 0);
  turn();
  EXPECT_EQ(wanted_, 1);
}

TEST_F(StreamRecorderTest, NothingIsToldAfterItHasEnded) {
  recorder_->onJoined();
  recorder_->onPictureWanted();
  recorder_.reset();
  turn();
  EXPECT_TRUE(told_.empty());
  EXPECT_EQ(wanted_, 0);
}

}  // namespace
}  // namespace meeting
