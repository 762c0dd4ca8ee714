// Views: rectangles in a tree, with a picture as contents.
//
// Trees are built and changed on the main thread; contents may be set from any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/Export.h"
#include "platform/Mutex.h"
#include "platform/Object.h"

namespace platform {

struct Point {
  double x = 0, y = 0;
  friend bool operator==(const Point&, const Point&) = default;
};
struct Size {
  double width = 0, height = 0;
  friend bool operator==(const Size&, const Size&) = default;
};
struct Rect {
  Point origin;
  Size size;
  friend bool operator==(const Rect&, const Rect&) = default;
};

// An immutable picture: 24-bit R, G, B, top row first, rows `bytesPerRow` apart. Shared by pointer;
// `storage` keeps the pixels alive.
struct Image {
  std::uint32_t width = 0;        // pixels
  std::uint32_t height = 0;       // pixels
  std::uint32_t bytesPerRow = 0;  // at least 3 * width
  const std::uint8_t* pixels = nullptr;
  std::shared_ptr<const void> storage;
};

// What a view does when its superview changes size. Bits may be combined.
enum AutoresizingMask : std::uint32_t {
  kViewNotSizable = 0,
  kViewMinXMargin = 1,
  kViewWidthSizable = 2,
  kViewMaxXMargin = 4,
  kViewMinYMargin = 8,
  kViewHeightSizable = 16,
  kViewMaxYMargin = 32,
};

class PLATFORM_API View : public Object {
 public:
  View();
  explicit View(const Rect& frame);
  ~View() override;

  // Frame in the superview's coordinates, origin at the top left. Setting it resizes the subviews
  // by their masks: each flexible part takes an equal share of the change.
  const Rect& frame() const { return frame_; }
  virtual void setFrame(const Rect& frame);

  std::uint32_t autoresizingMask() const { return autoresizingMask_; }
  void setAutoresizingMask(std::uint32_t mask) { autoresizingMask_ = mask; }

  View* superview() const { return superview_; }
  const std::vector<std::shared_ptr<View>>& subviews() const { return subviews_; }
  // Takes the view out of its old superview first; the new one retains it, on top of the others.
  // A view cannot become a subview of itself or of one of its own subviews: that is ignored.
  void addSubview(std::shared_ptr<View> view);
  void removeFromSuperview();

  // The picture shown in the view, scaled to it with its aspect kept; null shows what is behind.
  // [any-thread]
  void setContents(std::shared_ptr<const Image> image) EXCLUDES(contentsMutex_);
  std::shared_ptr<const Image> contents() const EXCLUDES(contentsMutex_);

 private:
  void resizeSubviews(const Size& oldSize);

  Rect frame_;
  std::uint32_t autoresizingMask_ = kViewNotSizable;
  View* superview_ = nullptr;  // not retained; cleared when the superview dies
  std::vector<std::shared_ptr<View>> subviews_;
  mutable Mutex contentsMutex_;
  std::shared_ptr<const Image> contents_ GUARDED_BY(contentsMutex_);
};

}  // namespace platform
