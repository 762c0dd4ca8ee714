// What a listener is given of a movie: whether it is told of it, and whether something is drawn
// into its view. [main-thread]
#pragma once

#include <optional>

#include "platform/Clock.h"
#include "platform/View.h"

namespace hostcheck {

class Watch {
 public:
  // The view must outlive this.
  explicit Watch(const platform::View& render) : render_(render) {}

  // The channel is joined and the view with the host, from here to end().
  void begin();
  void end();
  // A status about the document, with its record.
  void told(unsigned long status, const void* record);
  // What the presenter of the same document has sent to its end, at `movieEnd`: what reached a
  // listener that was there then, and some pictures before?
  void check(platform::TimePoint movieEnd) const;

 private:
  void look();

  struct Stay {
    platform::TimePoint from;
    platform::TimePoint to = platform::TimePoint::max();
  };

  const platform::View& render_;
  std::optional<Stay> stay_;  // the last
  bool staying_ = false;
  bool toldPlaying_ = false;
  bool toldSize_ = false;
  bool drawn_ = false;
};

}  // namespace hostcheck
