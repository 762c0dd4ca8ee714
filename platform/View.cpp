#include "platform/View.h"

#include <algorithm>
#include <utility>

namespace platform {

namespace {

// One axis of a subview in a superview that grows by `change`.
void resizeAxis(double change, bool minMargin, bool sizable, bool maxMargin, double& origin,
                double& length) {
  const int flexible = int{minMargin} + int{sizable} + int{maxMargin};
  if (flexible == 0) return;
  const double share = change / flexible;
  if (minMargin) origin += share;
  // May get negative when the superview gets very small: growing again then restores it.
  if (sizable) length += share;
}

}  // namespace

View::View() = default;

View::View(const Rect& frame) : frame_(frame) {}

View::~View() {
  for (const auto& subview : subviews_) subview->superview_ = nullptr;
}

void View::setFrame(const Rect& frame) {
  const Size oldSize = std::exchange(frame_, frame).size;
  if (frame_.size != oldSize) resizeSubviews(oldSize);
}

void View::resizeSubviews(const Size& oldSize) {
  const double widthChange = frame_.size.width - oldSize.width;
  const double heightChange = frame_.size.height - oldSize.height;
  const auto subviews = subviews_;  // a subview may leave when it is resized
  for (const auto& subview : subviews) {
    const auto flexible = [mask = subview->autoresizingMask_](std::uint32_t bit) {
      return (mask & bit) != 0;
    };
    Rect frame = subview->frame_;
    resizeAxis(widthChange, flexible(kViewMinXMargin), flexible(kViewWidthSizable),
               flexible(kViewMaxXMargin), frame.origin.x, frame.size.width);
    resizeAxis(heightChange, flexible(kViewMinYMargin), flexible(kViewHeightSizable),
               flexible(kViewMaxYMargin), frame.origin.y, frame.size.height);
    if (frame != subview->frame_) subview->setFrame(frame);
  }
}

void View::addSubview(std::shared_ptr<View> view) {
  if (!view) return;
  for (const View* ancestor = this; ancestor != nullptr; ancestor = ancestor->superview_) {
    if (ancestor == view.get()) return;
  }
  view->removeFromSuperview();
  subviews_.push_back(std::move(view));
  subviews_.back()->superview_ = this;
}

void View::removeFromSuperview() {
  if (superview_ == nullptr) return;
  auto& siblings = std::exchange(superview_, nullptr)->subviews_;
  const auto self = std::find_if(siblings.begin(), siblings.end(),
                                 [this](const auto& sibling) { return sibling.get() == this; });
  if (self == siblings.end()) return;
  // The superview's may have been the last reference: this view then ends with `last`.
  const std::shared_ptr<View> last = std::move(*self);
  siblings.erase(self);
}

void View::setContents(std::shared_ptr<const Image> image) {
  {
    const Lock lock(contentsMutex_);
    contents_.swap(image);
  }
  // The old picture ends here, outside of the lock.
}

std::shared_ptr<const Image> View::contents() const {
  const Lock lock(contentsMutex_);
  return contents_;
}

}  // namespace platform
