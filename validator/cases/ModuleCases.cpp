// What a host sees of the module before it drives an object: exports, faces, slots, creation.
#include "validator/cases/ContractFixture.h"

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Bundle : public testing::Test {};

CONTRACT_CASE(Bundle, IsLoaded, loads, "the code finds the libraries that it needs") {
  if (!Module::loaded().error().empty()) ADD_FAILURE() << Module::loaded().error();
}

CONTRACT_CASE(Bundle, HasTheFiveExports, loads, "hosts find an entry point by its name alone") {
  for (const char* name : Module::kExports) {
    if (Module::loaded().symbol(name) == nullptr) ADD_FAILURE() << "no export is called " << name;
  }
}

CONTRACT_CASE(ObjectTest, ComesAndGoes, loads, "an object can be made, and released again") {
  create();
  end();
}

// Hosts and other modules spell these texts themselves.
CONTRACT_CASE(Bundle, NamesItsNotificationsAndKeysAsHostsKnowThem, exports,
              "the texts of notifications and keys") {
  const std::pair<const char*, const char*> texts[] = {
      {"HOLStatusNotification", "HOLStatusNotification"},
      {"HOLStatusNoticationValueKey", "Status"},
      {"PDQueryHOLStatusNotification", "PDQueryHOLStatusNotification"},
      {"kMSVideoRenderSizeChangedNotification", "MSVideoRenderSizeChanged"},
      {"kMSVideoRenderSourceIDKey", "MSVideoRenderSourceID"},
      {"kMSVideoRenderWidthKey", "MSVideoRenderWidth"},
      {"kMSVideoRenderHeightKey", "MSVideoRenderHeight"},
      {"kMSActiveViewChangedNotification", "MSActiveViewChanged"},
      {"kMSPauseEmbedPlayerNotification", "MSPauseEmbedPlayer"},
      {"kMSHideOtherEmbedCtrlbarNotification", "MSHideOtherEmbedCtrlbar"},
      {"kAVMovieFPSProperty", "kAVMovieFPSProperty"},
      {"kAVMovieStatusProperty", "kAVMovieStatusProperty"},
      {"kAVMMPFailoverProcessing", "kAVMMPFailoverProcessing"},
      {"kAVMovieEmbedMode", "kAVMovieEmbedMode"},
  };
  for (const auto& [name, text] : texts) {
    const auto* const constant = static_cast<const char* const*>(Module::loaded().symbol(name));
    EXPECT_STREQ(constant != nullptr ? *constant : nullptr, text) << name;
  }
}

CONTRACT_CASE(Bundle, AnswersBeforeAnyObjectExists, exports,
              "version and life cycle functions answer without an object") {
  const Module& module = Module::loaded();
  const std::string why = module.unusable();
  if (!why.empty()) GTEST_SKIP() << why;
  EXPECT_EQ(module.getInterfaceVersion(), 5);
  EXPECT_EQ(module.initialize(), 0U);
  EXPECT_EQ(module.deleteInstance(nullptr), 0U);
  EXPECT_EQ(module.cleanup(), 0U);
}

CONTRACT_CASE(ObjectTest, ServesItsFacesByIdentifier, slots,
              "which faces an object has, and which it has not") {
  create();
  void* out = nullptr;
  for (const std::uint32_t id : {3U, 4U}) {
    EXPECT_EQ(object->GetUCFInterface(static_cast<UCFInterfaceID>(id), &out), UCF_OK);
    EXPECT_EQ(out, object);
  }
  EXPECT_NE(static_cast<void*>(runtime), static_cast<void*>(object));
  EXPECT_NE(static_cast<void*>(router), static_cast<void*>(runtime));
  for (const std::uint32_t id : {0U, 1U, 2U, 6U, 0x1FFFFFFEU}) {
    out = object;
    EXPECT_EQ(object->GetUCFInterface(static_cast<UCFInterfaceID>(id), &out), 0x80000004U) << id;
    EXPECT_EQ(out, nullptr) << id;
  }
}

CONTRACT_CASE(ObjectTest, TheTableOfTheObjectHasItsOperationsInOrder, slots,
              "every operation lies at its slot of the object's table") {
  create();
  forget();
  auto* const table = static_cast<void*>(object);
  void* out = nullptr;
  EXPECT_EQ(callSlot<UCFResult>(table, 0, 3U, &out), UCF_OK);
  EXPECT_EQ(out, object);
  EXPECT_EQ(callSlot<UCFResult>(table, 5, nullptr, nullptr), UCF_OK);
  EXPECT_THAT(host.take(), IsEmpty()) << "draws nothing";
  EXPECT_EQ(callSlot<UCFResult>(table, 3, 1U), UCF_OK);
  EXPECT_EQ(callSlot<UCFResult>(table, 4), UCF_OK);
  EXPECT_THAT(host.take(), ElementsAre("item 801=0", "item 800=1", "item 801=1"));
  EXPECT_EQ(callSlot<UCFResult>(table, 2, 11U), UCF_OK);
  EXPECT_EQ(callSlot<UCFResult>(table, 4), UCF_OK);
  EXPECT_THAT(host.take(), IsEmpty());
  EXPECT_EQ(callSlot<UCFResult>(table, 6, parent.get(), &rect), UCF_OK);
  ASSERT_EQ(parent->subviews().size(), 1);
  tagUCFRect moved{1, 2, 4, 8};
  callSlot<void>(table, 8, &moved);
  EXPECT_EQ(parent->subviews()[0]->frame(), (platform::Rect{{1, 2}, {3, 6}}));
  const auto other = std::make_shared<platform::View>();
  callSlot<void>(table, 9, other.get());
  EXPECT_EQ(other->subviews().size(), 1);
  EXPECT_EQ(callSlot<UCFResult>(table, 7), UCF_OK);
  EXPECT_TRUE(other->subviews().empty());
  host.take();
  callSlot<void>(std::exchange(object, nullptr), 1);
  EXPECT_EQ(host.take().back(), "session 102");
}

CONTRACT_CASE(ObjectTest, TheTablesOfTheOtherFacesReachTheSameObject, slots,
              "runtime and router are faces of the same object") {
  createActive();
  forget();
  for (const std::size_t slot : {1U, 2U, 3U, 4U, 5U, 6U, 7U, 9U, 10U, 11U, 13U, 14U, 15U, 16U})
    callSlot<void>(runtime, slot, 0UL, nullptr, nullptr, 0UL, 0UL, nullptr);
  EXPECT_EQ(callSlot<UCFResult>(runtime, 17, nullptr, nullptr), UCF_OK);
  EXPECT_THAT(host.take(), IsEmpty()) << "these do nothing";
  EXPECT_EQ(callSlot<UCFResult>(router, 0, 0U, 0U, 0UL, 1UL, nullptr, nullptr), UCF_OK);
  EXPECT_THAT(host.take(), ElementsAre(kNewsToAll)) << "its join was refused";
  auto question = kQuestion;
  callSlot<void>(runtime, 0, question.data(), 16U, 0UL, 0U);
  EXPECT_THAT(host.take(), ElementsAre(kNewsToOne));
}

CONTRACT_CASE(ContractTest, TheTablesOfTheOtherFacesReachItsPlayer, slots,
              "operations of runtime and router, as the player is told") {
  listen();
  view()->takeCalls();
  callSlot<void>(runtime, 12, 0U);
  EXPECT_THAT(view()->takeCalls(), ElementsAre("roleChanged 0"));
  callSlot<void>(runtime, 8, 1U, nullptr, 0U);
  advance(0.2);
  EXPECT_EQ(shown(), 205);
  callSlot<UCFResult>(router, 0, 0U, 0U, 0UL, 101UL, nullptr, nullptr);
  EXPECT_EQ(shown(), 8);
}

CONTRACT_CASE(ObjectTest, DeleteInstanceDeletesNothing, life,
              "UCFDeleteInstance leaves an object alone") {
  createActive();
  host.take();
  EXPECT_EQ(Module::loaded().deleteInstance(object), UCF_OK);
  const Lines told = host.take();
  if (!told.empty()) object = nullptr;  // it has ended
  ASSERT_THAT(told, IsEmpty());
  EXPECT_EQ(parent->subviews().size(), 1);
  session(SESSION_MSG_JOIN_FAILED);
  EXPECT_THAT(host.take(), ElementsAre(kNewsToAll)) << "it goes on";
}

CONTRACT_CASE(ContractTest, NobodyForbidsPlayingWithoutARouter, life,
              "a player whose container has neither runtime nor router") {
  host.hasRouter = host.hasRuntime = false;
  createActive();
  EXPECT_TRUE(view()->delegate->allow2Play()) << "nobody forbids it";
  startSource();
  EXPECT_FALSE(view()->asset) << "there is no path to open";
}

CONTRACT_CASE(ObjectTest, CreationNeedsNothingFromItsContainer, life,
              "a container may have neither runtime nor router") {
  host.hasRouter = host.hasRuntime = false;
  createActive();
  startSource();
  object->OnKillActive();
  release();
  EXPECT_THAT(host.take(), testing::Each(testing::StartsWith("shared ")));

  ASSERT_EQ(Module::loaded().createInstance(nullptr, nullptr, 0, nullptr, nullptr, 0, &object),
            UCF_OK);
  EXPECT_EQ(object->CreateActiveUI(parent.get(), &rect), UCF_E_NO_CONTAINER);
}

CONTRACT_CASE(ObjectTest, NothingIsThrownOutOfTheExports, exports,
              "a host's exception comes back as a result") {
  host.within = [](const std::string&) { throw std::runtime_error("host is broken"); };
  auto* const untouched = reinterpret_cast<IUCFObjectBase*>(this);
  IUCFObjectBase* out = untouched;
  EXPECT_EQ(Module::loaded().createInstance(&host, nullptr, 0, nullptr, nullptr, 0, &out),
            UCF_E_CREATE_FAILED);
  EXPECT_EQ(out, untouched);
  host.within = nullptr;
  EXPECT_EQ(Module::loaded().createInstance(&host, nullptr, 0, nullptr, nullptr, 0, nullptr),
            UCF_E_CREATE_FAILED);
}

}  // namespace
}  // namespace contract
