#include "meeting/RenderTarget.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace meeting {

namespace {

// A subview that shows nothing and is always as large as its superview: a view is resized on the
// main thread without a word to anybody but its subviews.
class Gauge final : public platform::View {
 public:
  Gauge(const platform::Size& size, std::function<void()> resized)
      : View({{0, 0}, size}), resized_(std::move(resized)) {
    setAutoresizingMask(platform::kViewWidthSizable | platform::kViewHeightSizable);
  }
  void setFrame(const platform::Rect& frame) override {
    View::setFrame(frame);
    resized_();
  }

 private:
  std::function<void()> resized_;
};

std::uint32_t pixels(double points) {
  constexpr double kMost = 16384;
  return static_cast<std::uint32_t>(std::lround(std::clamp(points, 0.0, kMost)));
}

}  // namespace

RenderTarget::RenderTarget(std::shared_ptr<platform::View> view,
                           std::function<void(PixelSize)> resized)
    : view_(std::move(view)),
      gauge_(std::make_shared<Gauge>(view_->frame().size,
                                     [this, resized = std::move(resized)] { resized(size()); })) {
  view_->addSubview(gauge_);
}

RenderTarget::~RenderTarget() { gauge_->removeFromSuperview(); }

PixelSize RenderTarget::size() const {
  const platform::Size& size = view_->frame().size;
  return {pixels(size.width), pixels(size.height)};
}

void RenderTarget::show(std::shared_ptr<const platform::Image> picture) {
  view_->setContents(std::move(picture));
}

}  // namespace meeting
