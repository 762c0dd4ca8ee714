// Which side an object is on, and what its activation and deactivation tell platform and host.
#include <thread>

#include "validator/cases/ContractFixture.h"

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

struct ChannelRow {
  const char* name;
  std::uint32_t role;
  std::uint32_t mode;
  bool ownDocument;
  bool source;
};

CONTRACT_CASE(ObjectTest, DocumentAndRuntimeModeDecideTheChannelNotTheRole, life,
              "which side of the stream an object is on") {
  const ChannelRow rows[] = {
      {"presenter", 1, 0, true, true},
      {"attendee in own document", 2, 0, true, true},
      {"forced listener", 1, 1, true, false},
      {"agenda document, attendee", 2, 0, false, false},
      {"agenda document, presenter", 1, 0, false, false},
      {"other mode", 1, 2, true, true},
  };
  for (const ChannelRow& row : rows) {
    SCOPED_TRACE(row.name);
    host.role = row.role;
    host.runtimeMode = row.mode;
    host.ownDocument = row.ownDocument;
    createActive();
    EXPECT_EQ(count(host.take(), "query 0 42"), row.source ? 0 : 1) << "a listener asks";
    if (view()) {
      EXPECT_THAT(view()->takeCalls(),
                  testing::IsSupersetOf(
                      {"setPlayerFitMode 1", row.source ? "setPlayerType 1" : "setPlayerType 2"}));
    }
    release();
  }
}

struct PathRow {
  UCFCtx context;
  const char* file;
  RecordingHost::Properties properties;
  Lines asked;
  const char* path;  // null: nothing to open
};

CONTRACT_CASE(ObjectTest, TheSharedFilesPathComesFromTheContainerOrTheHost, life,
              "where the path of the shared file comes from") {
  const PathRow rows[] = {
      {kEmbedded, "name.mov", {{8, "/eight.mov"}, {5, "/five.mov"}}, {"property 8"}, "/eight.mov"},
      {kEmbedded, "name.mov", {{5, "/five.mov"}}, {"property 8", "property 5"}, "/five.mov"},
      {kEmbedded, "name.mov", {{8, u"/\u00FCber.mov"}}, {"property 8"}, "/\u00FCber.mov"},
      {kEmbedded, "name.mov", {}, {"property 8", "property 5"}, nullptr},
      {kEmbedded, nullptr, {{8, "/eight.mov"}}, {}, nullptr},
      {kOutside, "/name.mov", {{8, "/eight.mov"}}, {}, "/name.mov"},
      {kOutside, nullptr, {}, {}, nullptr},
  };
  for (const PathRow& row : rows) {
    SCOPED_TRACE(std::string(row.path ? row.path : "nothing"));
    host.properties = row.properties;
    create(row.context, row.file);
    Lines expected = {row.context == kEmbedded ? "ids 107" : "ids 100", "session 101"};
    expected.insert(expected.end(), row.asked.begin(), row.asked.end());
    EXPECT_EQ(host.take(), expected);
    activate();
    startSource();
    if (view()) {  // which is asked to open it
      ASSERT_EQ(view()->asset != nullptr, row.path != nullptr);
      EXPECT_EQ(view()->asset ? view()->asset->path() : "", row.path ? row.path : "");
    }
    end();
    host.take();
  }
}

CONTRACT_CASE(ContractTest, ARecordingKnowsItsMediaFromTheFileName, life,
              "a recording's kind of media, before anything is known of it") {
  const std::pair<const char*, int> rows[] = {
      {"talk.final.MP3", 1}, {"clip.mov", 3}, {"talk", 3}, {"mp3", 3}, {"", 0}, {nullptr, 0}};
  host.liveMeeting = false;
  for (const auto& [file, content] : rows) {
    host.runtimeMode = UCF_RUNTIME_MODE_LISTENER;
    create(kEmbedded, file);
    activate();
    EXPECT_THAT(view()->takeCalls(), testing::Contains("setMediaType " + std::to_string(content)))
        << (file ? file : "null");
    release();
  }
}

CONTRACT_CASE(ContractTest, ADeactivationSavesThePlayersState, life,
              "what is kept of a player that is hidden") {
  createActive();
  EXPECT_EQ(shown(), 103);
  ASSERT_EQ(parent->subviews().size(), 1);
  EXPECT_EQ(view()->container->superview(), parent->subviews()[0].get());
  view()->position = 12.3456F;
  forget();
  object->DestroyActiveUI();
  EXPECT_THAT(view()->takeCalls(), ElementsAre("deactive"));
  Lines kept = host.take();
  std::erase_if(kept, [](const std::string& line) { return !line.starts_with("shared "); });
  EXPECT_THAT(
      kept, ElementsAre("shared 1058 type 6 12345", "shared 1062 type 6 40", "shared 1056 type 6 2",
                        "shared 1063 type 1 0", "shared 1057 type 1 0"));
}

CONTRACT_CASE(ObjectTest, ASourcesFirstAndLaterActivation, life,
              "what a source tells at its activations, and in which order") {
  create();
  host.take();
  activate();
  EXPECT_THAT(host.take(), ElementsAre("query 1 0", "item 800=0", "query 1 0"));
  ASSERT_EQ(parent->subviews().size(), 1);
  EXPECT_EQ(parent->subviews()[0]->frame(), (platform::Rect{{10, 20}, {640, 360}}));
  object->DestroyActiveUI();
  EXPECT_THAT(host.take(),
              ElementsAre("item 800=0", "item 801=0", "item 802=0", "item 803=0", "status 4 0",
                          StartsWith("shared 1058 type 6 "), StartsWith("shared 1062 type 6 "),
                          "shared 1056 type 6 2", "shared 1063 type 1 0", "shared 1057 type 1 0"));
  EXPECT_TRUE(parent->subviews().empty());

  object->CreateActiveUI(parent.get(), &rect);
  EXPECT_THAT(host.take(), ElementsAre("item 800=0", "query 1 0"));
  EXPECT_EQ(parent->subviews().size(), 1) << "the same view again";
}

CONTRACT_CASE(ContractTest, ARecordingsPlayerIsToldSo, life,
              "a recording's view shows no waiting for a channel") {
  host.liveMeeting = false;
  listen();
  EXPECT_EQ(shown(), 1);
  EXPECT_THAT(view()->takeCalls(),
              testing::IsSupersetOf({"setMediaType 3", "setNBRMode 1", "roleChanged 0"}));
  EXPECT_TRUE(view()->delegate->isEmbed());
}

CONTRACT_CASE(ObjectTest, ARecordingIsJoinedFromTheStart, life,
              "a recording needs no channel to be joined") {
  host.liveMeeting = false;
  createListener();
  host.take();
  activate();
  EXPECT_THAT(host.take(), ElementsAre("item 800=0", "request 0", "request 1",
                                       "to 9 1000000002000000050000000a0b0c0d", "status 3 0",
                                       "render 130 view", "update render 4 2 view", "query 1 0"));
}

CONTRACT_CASE(ObjectTest, BadArgumentsUseUpTheFirstActivationAndNothingElse, life,
              "wrong arguments of an activation are refused") {
  createListener();
  host.take();
  EXPECT_EQ(object->CreateActiveUI(nullptr, &rect), UCF_E_INVALID_ARG);
  EXPECT_THAT(host.take(), ElementsAre("query 1 0", "query 0 42"));
  EXPECT_EQ(object->CreateActiveUI(parent.get(), nullptr), UCF_E_INVALID_ARG);
  EXPECT_THAT(host.take(), IsEmpty());
  EXPECT_EQ(view(), nullptr);
  activate();
  EXPECT_THAT(host.take(), testing::Not(testing::Contains("query 0 42")));
}

CONTRACT_CASE(ObjectTest, UsageModeDecidesAboutItemStates, life,
              "which items of the host's menus are switched") {
  for (const std::uint32_t mode : {0U, 10U, 11U, 12U}) {
    create();
    if (mode != 0) {  // 10 unless it was said otherwise
      object->IsReleaseOnKillActive(static_cast<UCFUsageMode>(mode));
    }
    host.take();
    object->OnSetActive(1);
    object->CreateActiveUI(parent.get(), &rect);
    object->OnKillActive();
    object->DestroyActiveUI();
    Lines items = host.take();
    std::erase_if(items, [](const std::string& line) { return !line.starts_with("item "); });
    Lines expected = {"item 801=0", "item 800=0"};
    if (mode != 11) {
      expected.insert(expected.end(), {"item 800=1", "item 801=1", "item 800=0", "item 801=0",
                                       "item 802=0", "item 803=0"});
    }
    EXPECT_EQ(items, expected) << mode;
    release();
  }
}

CONTRACT_CASE(ContractTest, FollowsMovesAndParentsWhileItIsActive, life,
              "the view follows its parent and place") {
  for (const auto& [context, source] :
       {std::pair{kEmbedded, true}, {kOutside, true}, {kEmbedded, false}, {kOutside, false}}) {
    SCOPED_TRACE(testing::Message() << "context " << context << " source " << source);
    host.runtimeMode = source ? 0 : UCF_RUNTIME_MODE_LISTENER;
    parent = std::make_shared<platform::View>();
    create(context, "/m/talk.mov");
    activate();
    auto* const root = context == kEmbedded ? placedIn(*parent) : parent.get();
    EXPECT_EQ(view()->container->superview(), root);
    view()->takeCalls();
    tagUCFRect moved{0, 0, 100, 50};
    object->OnPositionChanged(&moved);
    EXPECT_THAT(view()->takeCalls(), ElementsAre("superFrameSizeChanged"));

    const auto other = std::make_shared<platform::View>();
    object->OnParentWindowChanged(other.get());
    auto* const now = context == kEmbedded ? placedIn(*other) : other.get();
    EXPECT_EQ(view()->container->superview(), now);
    if (context == kEmbedded) {
      EXPECT_EQ(now->frame(), (platform::Rect{{0, 0}, {100, 50}}));
    }
    startSource();
    EXPECT_EQ(view()->container->superview(), now) << "stays there when its file is opened";
    object->DestroyActiveUI();
    object->OnParentWindowChanged(parent.get());
    EXPECT_TRUE(parent->subviews().empty()) << "an inactive document does not move";
    for (int i = 0; i < 2; ++i) {  // the second time without an end in between
      object->CreateActiveUI(parent.get(), &rect);
      ASSERT_EQ(parent->subviews().size(), 1);
      EXPECT_EQ(view()->container->superview(),
                context == kEmbedded ? parent->subviews()[0].get() : parent.get());
      if (context == kEmbedded) {
        EXPECT_EQ(parent->subviews()[0]->frame(), (platform::Rect{{0, 0}, {100, 50}}));
      }
    }
    end();
  }
}

CONTRACT_CASE(ObjectTest, AViewFollowsItsPlaceAndParent, life,
              "the view in the document area follows its parent and place") {
  for (const std::uint32_t mode : {0U, std::uint32_t{UCF_RUNTIME_MODE_LISTENER}}) {
    SCOPED_TRACE(mode == 0 ? "source" : "listener");
    host.runtimeMode = mode;
    createActive();
    ASSERT_EQ(parent->subviews().size(), 1);
    tagUCFRect moved{0, 0, 100, 50};
    object->OnPositionChanged(&moved);
    const auto other = std::make_shared<platform::View>();
    object->OnParentWindowChanged(other.get());
    EXPECT_TRUE(parent->subviews().empty());
    ASSERT_EQ(other->subviews().size(), 1);
    EXPECT_EQ(other->subviews()[0]->frame(), (platform::Rect{{0, 0}, {100, 50}}));
    object->DestroyActiveUI();
    object->OnParentWindowChanged(parent.get());
    EXPECT_TRUE(parent->subviews().empty()) << "an inactive document does not move";
    EXPECT_TRUE(other->subviews().empty());
    end();
  }
}

CONTRACT_CASE(ContractTest, AParentThatAnInactiveDocumentIsToldOfIsForgotten, life,
              "an inactive document does not move") {
  create(kOutside, "/m/talk.mov");
  activate();
  session(SESSION_MSG_JOIN_CONFIRM);
  ticks(4);
  object->DestroyActiveUI();
  const auto other = std::make_shared<platform::View>();
  object->OnParentWindowChanged(other.get());
  session(SESSION_MSG_JOIN_CONFIRM);  // opens the file, which places the view
  ASSERT_TRUE(view()->asset);
  EXPECT_EQ(view()->container->superview(), parent.get());
}

CONTRACT_CASE(ContractTest, ActivatedAgainItForgetsHeldReportsOfActivityOnly, life,
              "what waits for the channel survives a second activation") {
  open();
  view()->playing = true;
  view()->delegate->onPlay(nullptr);
  object->CreateActiveUI(parent.get(), &rect);
  host.take();
  joinChannel();
  EXPECT_THAT(host.take(), ElementsAre("status 0 0", "status 3 0"));
}

CONTRACT_CASE(ContractTest, ReleaseEndsInOrder, life, "what Release tells, and in which order") {
  present();
  forget();
  release();
  EXPECT_THAT(
      host.take(),
      ElementsAre("item 800=0", "item 801=0", "item 802=0", "item 803=0", "status 4 0",
                  "shared 1058 type 6 0", "shared 1062 type 6 40", "shared 1056 type 6 2",
                  "shared 1063 type 1 0", "shared 1057 type 1 0", "unregister", "session 102"));
  EXPECT_THAT(view()->takeCalls(), ElementsAre("deactive", "willDie", "setDelegate 0"));
  open();
  host.take();
  release();
  EXPECT_EQ(count(host.take(), "unregister"), 0) << "its channel was not joined";
}

CONTRACT_CASE(ObjectTest, AListenersReleaseEndsInOrder, life,
              "what a listener's Release tells, and in which order") {
  listen();
  mediaInfo({90000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3});
  joinChannel();
  host.take();
  release();
  Lines told = host.take();
  std::erase_if(told, [](const std::string& line) { return line.starts_with("shared "); });
  EXPECT_THAT(told, ElementsAre("item 800=0", "item 801=0", "item 802=0", "item 803=0",
                                "status 4 0", "render 128 none", "unregister", "session 102"));
  end();
  EXPECT_THAT(host.take(), IsEmpty()) << "nothing follows";
}

CONTRACT_CASE(ObjectTest, GivesBackEveryVariant, endings,
              "values that the host has filled are given back") {
  for (const bool source : {true, false}) {
    source ? present() : listen();
    ticks(10);
    end();
    EXPECT_EQ(host.variantsHeld, 0) << (source ? "source" : "listener");
  }
}

CONTRACT_CASE(ObjectTest, CallsAListenersHostOnTheMainThread, threads,
              "a listener calls its host on the main thread") {
  listen();
  mediaInfo({});
  joinChannel();
  ticks(10);
  end();
  EXPECT_THAT(host.elsewhere, IsEmpty());
}

CONTRACT_CASE(ContractTest, CallsItsHostOnTheMainThread, threads,
              "only samples come on other threads") {
  present();
  view()->playing = true;
  view()->delegate->onPlay(nullptr);
  std::thread([] { frame(40); }).join();
  ticks(1);
  EXPECT_GT(host.samples, 0);
  end();
  EXPECT_THAT(host.elsewhere, IsEmpty());
}

}  // namespace
}  // namespace contract
