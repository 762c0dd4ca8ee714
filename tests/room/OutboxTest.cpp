#include "meeting/room/Outbox.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace meeting {
namespace {

using Lane = Outgoing::Lane;

class OutboxTest : public testing::Test {
 protected:
  bool put(Lane lane, const std::string& slot, const std::string& text) {
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
  put(Lane::newest, "a", "a1");
  put(Lane::inOrder, "", "x");
  put(Lane::newest, "b", "b1");
  put(Lane::newest, "a", "a2");
  put(Lane::inOrder, "", "y");
  EXPECT_EQ(takeAll(), "a2 x b1 y ");
}

TEST_F(OutboxTest, OldSoundIsDropped) {
  put(Lane::inOrder, "", "x");
  for (std::size_t i = 0; i < Outbox::kMaxSound + 3; ++i)
    EXPECT_TRUE(put(Lane::sound, "", std::to_string(i)));
  EXPECT_EQ(outbox_.size(), Outbox::kMaxSound + 1);
  EXPECT_EQ(takeAll().substr(0, 6), "x 3 4 ");
}

TEST_F(OutboxTest, TooManyThatMustArriveAreRefused) {
  for (std::size_t i = 0; i < Outbox::kMaxInOrder; ++i) EXPECT_TRUE(put(Lane::inOrder, "", "x"));
  EXPECT_FALSE(put(Lane::inOrder, "", "x"));
  EXPECT_TRUE(put(Lane::newest, "a", "a"));
  EXPECT_TRUE(put(Lane::sound, "", "s"));
}

}  // namespace
}  // namespace meeting
