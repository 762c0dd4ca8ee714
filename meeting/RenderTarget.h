// A view that was handed over to be drawn into, and its size. [main-thread, but where marked]
#pragma once

#include <functional>
#include <memory>

#include "meeting/PictureScaler.h"
#include "platform/View.h"

namespace meeting {

class RenderTarget {
 public:
  // Retains the view, and calls `resized` with the new size whenever that changes.
  RenderTarget(std::shared_ptr<platform::View> view, std::function<void(PixelSize)> resized);
  ~RenderTarget();
  RenderTarget(const RenderTarget&) = delete;
  RenderTarget& operator=(const RenderTarget&) = delete;

  PixelSize size() const;
  void show(std::shared_ptr<const platform::Image> picture);  // [any-thread]

 private:
  std::shared_ptr<platform::View> view_;
  std::shared_ptr<platform::View> gauge_;
};

}  // namespace meeting
