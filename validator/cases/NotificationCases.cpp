// The notifications that an object and the client's window talk by, and those that other objects
// hear.
#include "validator/cases/ContractFixture.h"
#include "validator/cases/Listener.h"

namespace contract {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kViewModeWanted = "PDSyncSharingViewModeNotification";
constexpr const char* kHolStatusWanted = "PDQueryHOLStatusNotification";
constexpr const char* kPauseOthers = "MSPauseEmbedPlayer";
constexpr const char* kHideOthers = "MSHideOtherEmbedCtrlbar";

class NotificationTest : public ContractTest {
 protected:
  void make(bool source) {
    host.runtimeMode = source ? 0 : UCF_RUNTIME_MODE_LISTENER;
    createActive();
    runMainThread();
    forget();
  }
};

CONTRACT_CASE(ObjectTest, AsksTheClientOnceForItsViewModeAndHolStatus, messages,
              "what the client is asked when the view has been made") {
  for (const bool source : {true, false}) {
    const auto heard = Listener::to({kViewModeWanted, kHolStatusWanted});
    source ? createActive() : listen();
    runMainThread();
    EXPECT_THAT(heard->names, testing::UnorderedElementsAre(kViewModeWanted, kHolStatusWanted))
        << (source ? "source" : "listener");
    end();
  }
}

CONTRACT_CASE(NotificationTest, AsksForTheViewModeWhenItsFileWasOpenedOrNot, messages,
              "what the client is asked when a file was opened, or did not open") {
  for (const bool accepts : {true, false}) {
    make(true);
    view()->accepts = accepts;
    const auto heard = Listener::to({kViewModeWanted, kHolStatusWanted});
    startSource();
    EXPECT_THAT(heard->names, ElementsAre(kViewModeWanted)) << accepts;
    end();
  }
}

CONTRACT_CASE(NotificationTest, TheFullScreenButtonAsksForWhatTheClientDoesNotShow, messages,
              "the full-screen button, and what the client says about it") {
  const auto heard = Listener::to({"PDEnterFitNotification", "PDLeaveFitNotification"});
  for (const bool source : {true, false}) {
    make(source);
    for (const int mode : {0, 1, 2}) {
      postNotification("PDDidChangeSharingViewModeNotification", {{"PDSharingViewMode", mode}});
      view()->delegate->toggleFullscreen(view());
      runMainThread();
      EXPECT_THAT(std::exchange(heard->names, {}),
                  ElementsAre(mode == 1 ? "PDLeaveFitNotification" : "PDEnterFitNotification"))
          << "mode " << mode;
    }
    EXPECT_TRUE(view()->delegate->allowEnterFIT()) << "until the client says otherwise";
    for (const bool away : {true, false}) {
      postNotification("HOLStatusNotification", {{"Status", away}});
      EXPECT_EQ(view()->delegate->allowEnterFIT(), !away);
    }
    view()->takeCalls();
    postNotification("PDWillChangeFitModeNotification", {});
    runMainThread();
    EXPECT_THAT(view()->takeCalls(), ElementsAre("willChangeFitMode"));
    end();
  }
}

CONTRACT_CASE(NotificationTest, GivesWayToAnotherMovieInTheDocumentArea, messages,
              "one movie plays in the document area, one control bar shows there") {
  const struct {
    bool source, playing;
    const char* name;
    Calls told;
  } rows[] = {
      {true, true, kPauseOthers, {"onStart"}},
      {true, false, kPauseOthers, {}},
      {false, true, kPauseOthers, {}},
      {true, true, kHideOthers, {"showEmbedControlbar (null)"}},
      {false, false, kHideOthers, {"showEmbedControlbar (null)"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message()
                 << row.name << " source " << row.source << " playing " << row.playing);
    make(row.source);
    view()->playing = row.playing;
    const auto heard = Listener::to({kPauseOthers, kHideOthers});
    row.name == kPauseOthers ? view()->delegate->pauseEmbedPlayer()
                             : view()->delegate->hideOtherEmbedCtrlbarWindow();
    EXPECT_THAT(heard->names, ElementsAre(row.name));
    EXPECT_THAT(view()->takeCalls(), IsEmpty()) << "that was its own";
    postNotification(row.name, {});
    EXPECT_EQ(view()->takeCalls(), row.told);
    end();
  }
}

CONTRACT_CASE(ObjectTest, TheClientsVolumeIsAListeners, messages,
              "volume and muting by the client") {
  const struct {
    const char* name;
    platform::Value value;
    const char* told;
  } rows[] = {
      {"LUMNBRSetVloumeNotification", 0.5F, "volume 127"},
      {"LUMNBRSetMutedNotification", 1, "volume 0"},
      {"LUMNBRSetMutedNotification", 0, "volume 127"},
      {"LUMNBRSetVloumeNotification", 0.0F, "volume 0"},
      {"LUMNBRSetVloumeNotification", 1.0F, "volume 255"},
  };
  const auto post = [](const auto& row) {
    postNotification(row.name, {{row.name + std::string("ValueKey"), row.value}});
  };
  for (const bool source : {true, false}) {
    source ? createActive() : listen();
    joinChannel();
    advance(0.2);  // a listener's sound is on
    for (const auto& row : rows) {
      SCOPED_TRACE(testing::Message() << (source ? "source " : "listener ") << row.name);
      host.take();
      post(row);
      EXPECT_EQ(host.take(), source ? Lines{} : Lines{row.told});
    }
    end();
    host.take();
    for (const auto& row : rows) post(row);
    EXPECT_THAT(host.take(), IsEmpty()) << "it has ended";
  }
}

}  // namespace
}  // namespace contract
