// What lies behind the contract in movara's objects: the operations of all their faces in one
// table, and what their players tell them.
#include "validator/cases/ContractFixture.h"

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

CONTRACT_CASE(InsideTest, TheTableOfTheObjectGoesOnWithItsOtherFaces, inside,
              "behind the destructors lie the operations of the object's other faces") {
  create();
  forget();
  auto* const table = static_cast<void*>(object);
  for (const std::size_t slot :
       {13U, 14U, 15U, 16U, 19U, 20U, 21U, 22U, 23U, 24U, 25U, 26U, 28U, 29U, 30U, 31U}) {
    callSlot<void>(table, slot, 0UL, nullptr, nullptr, 0UL, 0UL, nullptr);
  }
  EXPECT_THAT(host.take(), IsEmpty());
  EXPECT_EQ(callSlot<UCFResult>(table, 17, nullptr, nullptr), UCF_OK);
  EXPECT_EQ(callSlot<UCFResult>(table, 33, 0U, 0U, 0UL, 1UL, nullptr, nullptr), UCF_OK);
  EXPECT_THAT(host.take(), ElementsAre(kNewsToAll)) << "its join was refused";
  auto question = kQuestion;
  callSlot<void>(table, 18, question.data(), 16U, 0UL, 0U);
  EXPECT_THAT(host.take(), ElementsAre(kNewsToOne));
}

CONTRACT_CASE(InsideTest, TheTableOfTheObjectReachesItsPlayer, inside,
              "operations at their slots of the object's table, as the player is told") {
  listen();
  auto* const table = static_cast<void*>(object);
  view()->takeCalls();
  callSlot<void>(table, 12, 1U);
  EXPECT_THAT(view()->takeCalls(), ElementsAre("roleChanged 1"));
  callSlot<void>(table, 27, 1U, nullptr, 0U);
  advance(0.2);
  EXPECT_EQ(shown(), 205);
  void* out = nullptr;
  EXPECT_EQ(callSlot<std::int32_t>(table, 32, 0U, 0UL, 0UL), -1);
  EXPECT_EQ(callSlot<std::int32_t>(table, 32, 12U, &out, 0UL), 0);
  EXPECT_EQ(callSlot<UCFResult>(table, 33, 0U, 0U, 0UL, 100UL, nullptr, nullptr), UCF_OK);
  EXPECT_EQ(shown(), 7);
}

CONTRACT_CASE(InsideTest, AMovieReportedAsOpenIsPublishedAgainAndRegisteredOnce, inside,
              "a movie is registered once") {
  open();
  host.take();
  EXPECT_EQ(notify(8), -1);
  EXPECT_THAT(host.take(), ElementsAre("publish 0 905f01000300000003000000"));
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  host.take();
  EXPECT_EQ(notify(8), -1);
  EXPECT_THAT(host.take(), ElementsAre("status 3 0")) << "no longer the moment to publish";
  release();

  createActive();
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  host.take();
  notify(8);
  joinChannel();
  EXPECT_THAT(host.take(), ElementsAre("status 3 0", "register 90 3")) << "in seconds";
}

CONTRACT_CASE(InsideTest, AnOpenResultCountsOnceAndInItsLow32Bits, inside,
              "the result of an opening counts once") {
  const struct {
    unsigned long result;
    std::int32_t answer;
    int shown;
  } rows[] = {{0, 0, 103},     {0x1'0000'0000, 0, 103},   {1, 1, 101},
              {~0UL, -1, 101}, {0xFFFF'F824, -2012, 102}, {~2011UL, -2012, 102}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.result);
    create();
    EXPECT_EQ(notify(1, row.result), -1) << "no player";
    activate();
    EXPECT_EQ(notify(1, row.result), -1) << "not joined";
    session(SESSION_MSG_JOIN_CONFIRM);  // arms the countdown; the second finds it armed
    session(SESSION_MSG_JOIN_CONFIRM);
    EXPECT_EQ(notify(1, row.result), row.answer);
    EXPECT_EQ(shown(), row.shown);
    EXPECT_EQ(notify(1, row.result), -1) << "a second time";
    end();
  }
}

CONTRACT_CASE(InsideTest, OnlyASourceHasAFormat, inside,
              "a listener's object passes no format on") {
  listen();
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  forget();
  tagMSVIDEOFORMATEX format{};
  notify(6, reinterpret_cast<unsigned long>(&format));
  EXPECT_THAT(host.take(), IsEmpty());
}

}  // namespace
}  // namespace contract
