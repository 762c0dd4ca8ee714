#include "platform/View.h"

#include <gmock/gmock.h>

namespace platform {

void PrintTo(const Rect& rect, std::ostream* out) {
  *out << rect.origin.x << ',' << rect.origin.y << ' ' << rect.size.width << 'x'
       << rect.size.height;
}

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(View, MovesBetweenSuperviews) {
  const auto parent = std::make_shared<View>();
  const auto other = std::make_shared<View>();
  const auto child = std::make_shared<View>();
  const auto sibling = std::make_shared<View>();
  parent->addSubview(child);
  parent->addSubview(sibling);
  parent->addSubview(child);  // to the top
  EXPECT_THAT(parent->subviews(), ElementsAre(sibling, child));
  other->addSubview(child);
  EXPECT_THAT(parent->subviews(), ElementsAre(sibling));
  EXPECT_EQ(child->superview(), other.get());
  child->removeFromSuperview();
  child->removeFromSuperview();
  EXPECT_THAT(other->subviews(), IsEmpty());
  EXPECT_EQ(child->superview(), nullptr);
}

TEST(View, RefusesToBecomeItsOwnSubview) {
  const auto parent = std::make_shared<View>();
  const auto child = std::make_shared<View>();
  parent->addSubview(child);
  child->addSubview(parent);
  child->addSubview(child);
  child->addSubview(nullptr);
  EXPECT_THAT(child->subviews(), IsEmpty());
  EXPECT_EQ(child->superview(), parent.get());
}

TEST(View, OutlivesItsSuperviewAndEndsWithTheLastReference) {
  auto parent = std::make_shared<View>();
  auto child = std::make_shared<View>();
  parent->addSubview(child);
  parent.reset();
  EXPECT_EQ(child->superview(), nullptr);

  parent = std::make_shared<View>();
  parent->addSubview(child);
  View* const held = std::exchange(child, nullptr).get();
  const std::weak_ptr<Object> life = held->weak_from_this();
  held->removeFromSuperview();
  EXPECT_TRUE(life.expired());
}

TEST(View, ResizesSubviewsByTheirMasks) {
  const struct {
    std::uint32_t mask;
    Rect expected;  // of {10,20 30x40} when the superview grows by 60 x 90
  } cases[] = {
      {kViewNotSizable, {{10, 20}, {30, 40}}},
      {kViewWidthSizable | kViewHeightSizable, {{10, 20}, {90, 130}}},
      {kViewMinXMargin | kViewMinYMargin, {{70, 110}, {30, 40}}},
      {kViewMaxXMargin | kViewMaxYMargin, {{10, 20}, {30, 40}}},
      {kViewMinXMargin | kViewMaxXMargin, {{40, 20}, {30, 40}}},
      {kViewMinYMargin | kViewHeightSizable | kViewMaxYMargin, {{10, 50}, {30, 70}}},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.mask);
    const auto parent = std::make_shared<View>(Rect{{5, 5}, {100, 100}});
    const auto child = std::make_shared<View>(Rect{{10, 20}, {30, 40}});
    const auto grandchild = std::make_shared<View>(Rect{{0, 0}, child->frame().size});
    child->setAutoresizingMask(row.mask);
    grandchild->setAutoresizingMask(kViewWidthSizable | kViewHeightSizable);
    child->addSubview(grandchild);
    parent->addSubview(child);
    parent->setFrame({{0, 0}, {160, 190}});
    EXPECT_EQ(child->frame(), row.expected);
    EXPECT_EQ(grandchild->frame().size, row.expected.size);
    parent->setFrame({{0, 0}, {0, 0}});  // as when a window is hidden
    parent->setFrame({{0, 0}, {100, 100}});
    EXPECT_EQ(child->frame(), (Rect{{10, 20}, {30, 40}}));
  }
}

}  // namespace
}  // namespace platform
