#include "meeting/room/Outbox.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace meeting {
namespace {

using Lane = Outgoing::Lane;
using Put = Outbox::Put;

class OutboxTest : public testing::Test {
 protected:
  Put put(Lane lane, const std::string& slot, const std::string& text) {
    return outbox_.put({lane, false, slot, std::make_shared<const std::string>(text)});
  }
  std::string takeAll() {
    std::string all;
    while (!outbox_.empty()) all += *outbox_.take().data + ' ';
    return all;
  }

  Outbox outbox_;
};

TEST_F(OutboxTest, TheNewestOfASlotTakesTheOldestOnesPlace) {
  EXPECT_EQ(put(Lane::newest, "a", "a1"), Put::added);
  put(Lane::inOrder, "", "x");
  EXPECT_EQ(put(Lane::newest, "b", "b1"), Put::added);
  EXPECT_EQ(put(Lane::newest, "a", "a2"), Put::replaced);
  put(Lane::inOrder, "", "y");
  EXPECT_EQ(takeAll(), "a2 x b1 y ");
  EXPECT_EQ(put(Lane::newest, "a", "a3"), Put::added) << "the older one has been taken";
}

TEST_F(OutboxTest, OldSoundIsDropped) {
  put(Lane::inOrder, "", "x");
  for (std::size_t i = 0; i < Outbox::kMaxSound + 3; ++i)
    EXPECT_EQ(put(Lane::sound, "", std::to_string(i)), Put::added);
  EXPECT_EQ(outbox_.size(), Outbox::kMaxSound + 1);
  EXPECT_EQ(takeAll().substr(0, 6), "x 3 4 ");
}

TEST_F(OutboxTest, TooManyThatMustArriveAreRefused) {
  for (std::size_t i = 0; i < Outbox::kMaxInOrder; ++i)
    EXPECT_EQ(put(Lane::inOrder, "", "x"), Put::added);
  EXPECT_EQ(put(Lane::inOrder, "", "x"), Put::refused);
  EXPECT_EQ(put(Lane::newest, "a", "a"), Put::added);
  EXPECT_EQ(put(Lane::sound, "", "s"), Put::added);
}

}  // namespace
}  // namespace meeting
