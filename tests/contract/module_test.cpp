// What a host sees of the module before it drives an object: exports, faces, slots, creation.
#include <dlfcn.h>

#include "tests/contract/ContractFixture.h"
#include "tests/support/Process.h"

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

// The names that the bundle's code defines, as `nm` lists them.
Lines definedSymbols(const std::string& options) {
  const support::Finished listed = support::run(support::words(
      "nm --defined-only --format=just-symbols " + options + " " MOVARA_BUNDLE_CODE));
  EXPECT_EQ(listed.status, 0) << listed.err;
  return support::words(listed.out);
}

TEST(Bundle, ExportsItsPublicNamesAndNothingElse) {
  const std::vector<std::string> allowed = {
      "UCFInitialize", "UCFCleanup", "UCFCreateInstance", "UCFDeleteInstance",
      "UCFGetInterfaceVersion",
      // Player properties.
      "kAVMovieFPSProperty", "kAVMovieStatusProperty", "kAVMediaVolumeProperty",
      "kAVMovieCurTimeProperty", "kAVMovieDurationProperty", "kAVMovieSizeHeightProperty",
      "kAVMediaSizeWidthProperty", "kAVMediaMediaTypeProperty", "kAVMediaNBRModeProperty",
      "kAVMovieActiveProperty", "kAVMMPFailoverProcessing", "kAVAllowEnterFitMode",
      "kAVMovieEmbedMode", "kAVMovieCurrentPresenterRole",
      // Notifications.
      "HOLStatusNotification", "HOLStatusNoticationValueKey", "PDQueryHOLStatusNotification",
      "kMSVideoRenderSizeChangedNotification", "kMSVideoRenderSourceIDKey",
      "kMSVideoRenderWidthKey", "kMSVideoRenderHeightKey", "kMSActiveViewChangedNotification",
      "kMSPauseEmbedPlayerNotification", "kMSHideOtherEmbedCtrlbarNotification",
      // Trace.
      "MacDebugTrace2", "MacInfoTrace2", "MacWarnTrace2", "MacErrorTrace2",
      "_Z9LUMTRACE2mPKcS0_S0_P13__va_list_tag", "_Z11LUMTRACERAWmPKcS0_S0_", "_Z8LUMDEBUGPKcz",
      "_Z7LUMINFOPKcz", "_Z7LUMWARNPKcz", "_Z8LUMERRORPKcz", "_Z9LUMDEBUG2PKcS0_z",
      "_Z8LUMINFO2PKcS0_z", "_Z8LUMWARN2PKcS0_z", "_Z9LUMERROR2PKcS0_z",
      // Bounds-checked functions.
      "strcasecmp_s", "memmove_s", "safe_lib_set_constraint_handler",
      "invoke_safe_lib_constraint_handler", "safe_lib_default_constraint_handler",
      "safe_lib_ignore_handler"};
  EXPECT_THAT(definedSymbols("--dynamic"), UnorderedElementsAreArray(allowed));
}

// Hosts and other modules spell these texts themselves.
TEST(Bundle, NamesItsNotificationsAndKeysAsHostsKnowThem) {
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
  void* const code = dlopen(MOVARA_BUNDLE_CODE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(code, nullptr) << dlerror();
  for (const auto& [name, text] : texts) {
    const auto* const constant = static_cast<const char* const*>(dlsym(code, name));
    ASSERT_NE(constant, nullptr) << name;
    EXPECT_STREQ(*constant, text);
  }
  dlclose(code);
}

TEST(Bundle, HasOneStaticInitialiser) {
  const std::string prefix = "_GLOBAL__sub_I_";
  std::vector<std::string> found;
  for (const std::string& name : definedSymbols("")) {
    // Sanitizers add constructors of their own, of priority 99; the compiler may split one in two.
    if (name.starts_with(prefix) && !name.starts_with(prefix + "00099_") &&
        !name.ends_with(".cold")) {
      found.push_back(name);
    }
  }
  EXPECT_THAT(found, testing::SizeIs(1));
}

TEST_F(ContractTest, TheExportsAnswerBeforeAnyObjectExists) {
  const Module& module = Module::loaded();
  EXPECT_EQ(module.getInterfaceVersion(), 5);
  EXPECT_EQ(module.initialize(), 0U);
  EXPECT_EQ(module.deleteInstance(nullptr), 0U);
  EXPECT_EQ(module.cleanup(), 0U);
  EXPECT_THAT(takeTraceLines(), ElementsAre("I UCFDeleteInstance", "I UCFDeleteInstance"));
}

TEST_F(ContractTest, ServesItsFacesByIdentifier) {
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

TEST_F(ContractTest, TheTableOfTheObjectHasItsOperationsInOrder) {
  createListener();
  forget();
  auto* const table = static_cast<void*>(object);
  void* out = nullptr;
  EXPECT_EQ(callSlot<UCFResult>(table, 0, 3U, &out), UCF_OK);
  EXPECT_EQ(out, object);
  EXPECT_EQ(callSlot<UCFResult>(table, 5, nullptr, nullptr), UCF_OK);  // draws nothing
  callSlot<UCFResult>(table, 3, 1U);
  callSlot<UCFResult>(table, 4);
  EXPECT_THAT(host.take(), ElementsAre("item 801=0", "item 800=1", "item 801=1"));
  callSlot<UCFResult>(table, 2, 11U);
  callSlot<UCFResult>(table, 4);
  EXPECT_THAT(host.take(), IsEmpty());
  EXPECT_EQ(callSlot<UCFResult>(table, 6, parent.get(), &rect), UCF_OK);
  ASSERT_EQ(parent->subviews().size(), 1);
  tagUCFRect moved{1, 2, 4, 8};
  callSlot<void>(table, 8, &moved);
  EXPECT_EQ(parent->subviews()[0]->frame(), (platform::Rect{{1, 2}, {3, 6}}));
  const auto other = std::make_shared<platform::View>();
  callSlot<void>(table, 9, other.get());
  EXPECT_EQ(other->subviews().size(), 1);

  // Behind the destructors: the operations of the other faces.
  forget();
  callSlot<void>(table, 12, 1U);
  EXPECT_THAT(view()->takeCalls(), ElementsAre("roleChanged 1"));
  for (const std::size_t slot :
       {13U, 14U, 15U, 16U, 19U, 20U, 21U, 22U, 23U, 24U, 25U, 26U, 28U, 29U, 30U, 31U}) {
    callSlot<void>(table, slot, 0UL, nullptr, nullptr, 0UL, 0UL, nullptr);
  }
  EXPECT_THAT(host.take(), IsEmpty());
  EXPECT_THAT(takeTraceLines(), ElementsAre("I My role now is presenter"));
  EXPECT_EQ(callSlot<UCFResult>(table, 17, nullptr, nullptr), UCF_OK);
  unsigned char command[8] = {8, 0, 0, 0, 2, 0, 0, 0};
  callSlot<void>(table, 18, command, 8U, 0UL, 0U);
  EXPECT_THAT(takeTraceLines(), ElementsAre("I Receive "
                                            "OnCommandData(SVS_QUERY_JOINSEESION_FAILED_CMD)"));
  callSlot<void>(table, 27, 1U, command, 8U);
  advance(0.2);
  EXPECT_EQ(shown(), 205);
  EXPECT_EQ(callSlot<std::int32_t>(table, 32, 0U, 0UL, 0UL), -1);
  EXPECT_EQ(callSlot<std::int32_t>(table, 32, 12U, &out, 0UL), 0);
  EXPECT_EQ(callSlot<UCFResult>(table, 33, 0U, 0U, 0UL, 100UL, nullptr, nullptr), UCF_OK);
  EXPECT_EQ(shown(), 7);
  callSlot<UCFResult>(table, 7);
  EXPECT_TRUE(other->subviews().empty());
  callSlot<void>(std::exchange(object, nullptr), 1);
  EXPECT_EQ(count(takeTraceLines(), "CMovaraApp are going to die, this = "), 1);
}

TEST_F(ContractTest, TheTablesOfTheOtherFacesReachTheSameObject) {
  listen();
  forget();
  callSlot<void>(runtime, 12, 0U);
  EXPECT_THAT(view()->takeCalls(), ElementsAre("roleChanged 0"));
  unsigned char command[8] = {8, 0, 0, 0, 2, 0, 0, 0};
  callSlot<void>(runtime, 0, command, 8U, 0UL, 0U);
  EXPECT_EQ(count(takeTraceLines(), "Receive OnCommandData"), 1);
  callSlot<void>(runtime, 8, 1U, nullptr, 0U);
  advance(0.2);
  EXPECT_EQ(shown(), 205);
  EXPECT_EQ(callSlot<UCFResult>(runtime, 17, nullptr, nullptr), UCF_OK);
  callSlot<UCFResult>(router, 0, 0U, 0U, 0UL, 101UL, nullptr, nullptr);
  EXPECT_EQ(shown(), 8);
}

TEST_F(ContractTest, CreationNeedsNothingFromItsContainer) {
  host.hasRouter = host.hasRuntime = false;
  create();
  EXPECT_THAT(takeTraceLines(),
              ElementsAre("I UCFCreateInstance(...)",
                          "W CMovaraApp::CMovaraApp, get UCF_IID_OBJECT_MSG_ROUTER failed, "
                          "returned value is NULL",
                          "W CMovaraApp::CMovaraApp get UCF_IID_CONTAINER_RUNTIME failed, "
                          "returned value is NULL"));
  activate();
  EXPECT_TRUE(view()->delegate->allow2Play()) << "nobody forbids it";
  startSource();
  EXPECT_FALSE(view()->asset) << "there is no path to open";
  object->OnKillActive();
  release();
  EXPECT_THAT(host.take(), testing::Each(testing::StartsWith("shared ")));

  ASSERT_EQ(Module::loaded().createInstance(nullptr, nullptr, 0, nullptr, nullptr, 0, &object),
            UCF_OK);
  EXPECT_EQ(object->CreateActiveUI(parent.get(), &rect), UCF_E_NO_CONTAINER);
}

TEST_F(ContractTest, NothingIsThrownOutOfTheExports) {
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
