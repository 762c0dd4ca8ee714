// A picture of a view as an onlooker would see it: the contents of its tree, each scaled to its
// view with the aspect kept, on black.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/View.h"

namespace meeting {

// What there is to see in a view at one moment. Two scenes are equal when the same pictures stand
// in the same places: nothing has changed.
struct Scene {
  struct Layer {
    std::shared_ptr<const platform::Image> image;
    platform::Rect frame;  // in the view's coordinates
    friend bool operator==(const Layer&, const Layer&) = default;
  };
  platform::Size size;
  std::vector<Layer> layers;  // bottom first
  friend bool operator==(const Scene&, const Scene&) = default;
};

Scene captureScene(const platform::View& view);  // [main-thread]
platform::Image render(const Scene& scene);      // [any-thread]
// Both in one. [main-thread]
platform::Image compose(const platform::View& view);

// 0, or why the file could not be written, as in errno. [any-thread]
int writePng(const platform::Image& image, const std::string& path);

}  // namespace meeting
