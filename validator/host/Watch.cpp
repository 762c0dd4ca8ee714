#include "validator/host/Watch.h"

#include <chrono>
#include <string>

#include "mmp/StatusRecords.h"
#include "ucf/IUCFMsgRouter.h"
#include "validator/host/Checks.h"

namespace hostcheck {

namespace {

using std::chrono_literals::operator""ms;

// Of the second that a movie lasts: some pictures are missed by who comes later.
constexpr auto kEnough = 200ms;

platform::TimePoint now() { return std::chrono::steady_clock::now(); }

}  // namespace

void Watch::begin() {
  if (staying_) return;
  staying_ = true;
  stay_ = Stay{now()};
}

void Watch::end() {
  look();
  if (staying_) stay_->to = now();
  staying_ = false;
}

void Watch::look() { drawn_ = drawn_ || render_.contents() != nullptr; }

void Watch::told(unsigned long status, const void* record) {
  look();
  if (status == MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS)
    toldPlaying_ = toldPlaying_ || static_cast<const tagMSPlayStatus*>(record)->dwPlayStatus ==
                                       MM_MEDIA_STREAMING_PLYASTATUS_PLAYING;
  if (status == MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION) toldSize_ = true;
}

void Watch::check(platform::TimePoint movieEnd) const {
  if (!stay_ || stay_->from + kEnough > movieEnd || stay_->to < movieEnd) return;
  const std::string missing = std::string(toldPlaying_ ? "" : "M 3 (0), playing") +
                              (toldPlaying_ || toldSize_ ? "" : ", nor ") +
                              (toldSize_ ? "" : "M 5, size of the pictures");
  Findings::shared().note(
      Check::listenerTold, missing.empty(),
      "a movie was shared to its end, and a listener that had joined was not told " + missing);
  Findings::shared().note(
      Check::pictureDrawn, drawn_ || (staying_ && render_.contents() != nullptr),
      "a movie was shared to its end, and nothing was ever drawn into the view that a listener had "
      "handed over (requests 4 and 5): does anybody look at it?");
}

}  // namespace hostcheck
