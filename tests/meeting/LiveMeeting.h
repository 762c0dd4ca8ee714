// Holds a real meeting with the built plug-in in this process, and acts in it step by step.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "meeting/Meeting.h"
#include "platform/RunLoop.h"
#include "platform/View.h"
#include "tests/meeting/ClipTest.h"

namespace meeting {

class LiveMeeting : public ClipTest {
 protected:
  // Waits until `when` holds, then does `then`.
  struct Step {
    const char* name;
    std::function<bool()> when;
    std::function<void()> then = [] {};
  };

  // A clip of a test picture of the size, 25 pictures a second.
  static std::string clip(const std::string& name, const std::string& size, int seconds);

  // Options of a meeting that only a step or an interrupt ends.
  static Options sharing(const std::string& file, int attendees);
  // Holds the meeting until all steps are done, in their order; fails when one is not reached
  // within a minute.
  Outcome hold(Options options, std::vector<Step> steps);

  // For steps, while the meeting is held.
  ParticipantStatus status(const std::string& id);
  void act(const std::string& action);
  Meeting& meeting() { return *meeting_; }
  std::shared_ptr<avcapture::KTVideoPlayer> player(const std::string& id);
  // What is drawn in the participant's render view; null when nothing is.
  std::shared_ptr<const platform::Image> picture(const std::string& id);
  // Whether every one of them is in the state.
  bool all(const std::vector<std::string>& ids, const std::string& state);

 private:
  std::unique_ptr<Meeting> meeting_;
};

// Whether both hold the same pixels; both may be null.
bool samePixels(const platform::Image* a, const platform::Image* b);
// Peak signal-to-noise ratio in dB of `drawn` against `original` scaled to its size.
double psnr(const platform::Image& drawn, const platform::Image& original);

}  // namespace meeting
