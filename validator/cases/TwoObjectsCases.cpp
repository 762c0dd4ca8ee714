// Two objects at once, each with a host of its own.
#include "validator/cases/ContractFixture.h"

namespace contract {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

// A second object, host and place beside those of the case.
class Another final : public ObjectTest {
 public:
  using ObjectTest::createActive, ObjectTest::listen, ObjectTest::mediaInfo, ObjectTest::release;
  using ObjectTest::host, ObjectTest::joinChannel, ObjectTest::object, ObjectTest::parent;

 private:
  void TestBody() override {}
};

CONTRACT_CASE(ObjectTest, TwoObjectsHaveEachTheirOwnHost, life,
              "each shared document has an object, and each object its host") {
  Another other;
  createActive();
  host.take();
  other.listen();
  EXPECT_THAT(host.take(), IsEmpty()) << "the other one's activation";
  EXPECT_NE(object, other.object);
  EXPECT_EQ(parent->subviews().size(), 1);
  EXPECT_EQ(other.parent->subviews().size(), 1);

  other.host.take();
  session(SESSION_MSG_JOIN_FAILED);
  EXPECT_THAT(host.take(), ElementsAre(kNewsToAll));
  EXPECT_THAT(other.host.take(), IsEmpty()) << "nobody refused its join";
  other.mediaInfo({90000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3});
  other.joinChannel();
  EXPECT_THAT(other.host.take(), Contains("register 90 3"));
  EXPECT_THAT(host.take(), IsEmpty()) << "the other one's channel";

  release();
  EXPECT_THAT(host.take(), Contains("session 102"));
  EXPECT_TRUE(parent->subviews().empty());
  EXPECT_THAT(other.host.take(), IsEmpty()) << "the other one goes on";
  EXPECT_EQ(other.parent->subviews().size(), 1);
  other.release();
  EXPECT_THAT(other.host.take(), Contains("session 102"));
}

CONTRACT_CASE(ContractTest, OneOfTwoMoviesPausesTheOther, messages,
              "one movie plays in the document area") {
  Another other;
  createActive();
  const auto first = FakeFramework::view;
  other.createActive();
  const auto second = FakeFramework::view;
  ASSERT_NE(first, second);
  first->playing = second->playing = true;
  first->takeCalls();
  second->takeCalls();
  second->delegate->pauseEmbedPlayer();
  EXPECT_THAT(first->takeCalls(), ElementsAre("onStart"));
  EXPECT_THAT(second->takeCalls(), IsEmpty()) << "it plays";
}

}  // namespace
}  // namespace contract
