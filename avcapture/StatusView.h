// The status of a player view, as a picture over the movie. [main-thread]
#pragma once

#include "platform/View.h"

namespace avcapture {

class StatusView final : public platform::View {
 public:
  // Shows what belongs to the code. A picture that is no longer wanted goes at once; a new one is
  // drawn on the run loop's next pass, once for all that has changed until then.
  void setCode(int code);
  int code() const { return code_; }
  // The view's superview has that size now.
  void setRoom(const platform::Size& room);

 private:
  void changed();
  void draw();

  int code_ = 0;
  platform::Size room_;
  bool drawing_ = false;  // a pass of the run loop will draw
};

}  // namespace avcapture
