// What attendees see and hear of a real movie in a real meeting.
#include <algorithm>
#include <csignal>

#include "tests/meeting/LiveMeeting.h"

namespace meeting {
namespace {

using Attendees = LiveMeeting;

TEST_F(Attendees, SeeTheFrameThatThePresenterShows) {
  const std::string still[] = {"attendee-1", "attendee-3"};
  const auto watchAll = [&] {
    for (const char* id : {"attendee-1", "attendee-2", "attendee-3"})
      meeting().setWatched(id, true);
    act("attendee=1 resize=320x180");  // the size of the picture
    act("attendee=2 delay=400");
    act("attendee=3 leave");
  };
  const auto outcome = hold(
      sharing(clip("minute.mkv", "320x180", 60), 3),
      {{"the presenter is there", [&] { return status("presenter").state != "gone"; }, watchAll},
       {"half of it has been played", [&] { return status("presenter").position >= 2; },
        [&] { act("attendee=3 join"); }},
       {"who came late sees it", [&] { return status("attendee-3").frames > 5; },
        [&] { act("pause"); }},
       {"everybody has paused",
        [&] {
          return all({"attendee-1", "attendee-2", "attendee-3"}, "paused");
        }},
       {"the picture is exact where nothing is scaled",
        [&] { return samePixels(picture("attendee-1").get(), picture("presenter").get()); }},
       {"the slow one has the same picture in the end",
        [&] { return samePixels(picture("attendee-2").get(), picture("attendee-3").get()); },
        [&] {
          EXPECT_GT(picture("attendee-2")->width, 320U);
          EXPECT_GT(psnr(*picture("attendee-2"), *picture("presenter")), 35);
          act("attendee=1 leave");
        }}});
  EXPECT_EQ(outcome.exitStatus, 128 + SIGINT);
  const DocumentReport& report = this->meeting().report().documents.at(0);
  EXPECT_GT(report.attendees.at(1).statistics.framesLost,
            report.attendees.at(0).statistics.framesLost)
      << "only the slow one loses pictures by its slowness";
  EXPECT_LT(report.attendees.at(2).statistics.framesReceived,
            report.attendees.at(0).statistics.framesReceived);
}

TEST_F(Attendees, SeeThePictureOfAPresenterWhoHasPaused) {
  hold(sharing(clip("minute.mkv", "320x180", 60), 1),
       {{"it plays to nobody", [&] { return status("presenter").state == "playing"; },
         [&] { act("attendee=1 leave"); }},
        {"for a while", [&] { return status("presenter").position > 0.5; }, [&] { act("pause"); }},
        {"it stands", [&] { return status("presenter").state == "paused"; },
         [&] {
           act("attendee=1 join");
           act("attendee=1 resize=320x180");
           meeting().setWatched("attendee-1", true);
         }},
        {"the late one sees it", [&] {
           return status("attendee-1").state == "paused" &&
                  samePixels(picture("attendee-1").get(), picture("presenter").get());
         }}});
}

TEST_F(Attendees, FollowThePresenter) {
  const auto near = [this](double seconds) {
    return [this, seconds] { return std::abs(status("attendee-1").position - seconds) < 0.3; };
  };
  const auto state = [this](const char* name) {
    return [this, name] { return all({"attendee-1", "attendee-2"}, name); };
  };
  hold(sharing(clip("minute.mkv", "320x180", 60), 2),
       {{"plays", state("playing"), [&] { act("pause"); }},
        {"pauses", state("paused"), [&] { act("seek=3"); }},
        {"seeks", near(3), [&] { act("play"); }},
        {"plays again", state("playing"), [&] { act("seek=59.5"); }},
        {"ends", state("stopped"), [&] { act("play"); }},
        {"starts again", state("playing"), [&] { act("stop"); }},
        {"stops", state("stopped"), [&] { act("play"); }},
        {"loses the stream", state("playing"), [&] { act("channel=fail"); }},
        {"waits for it", state("rebuffering"), [&] { act("channel=reconnect"); }},
        {"has it again", state("playing"), [&] { act("presenter-crash"); }},
        {"loses the presenter", state("presenter lost"), [&] { act("presenter-return"); }},
        {"has the presenter again", state("playing")}});
}

TEST_F(Attendees, AreToldHowTheSessionEnds) {
  struct Case {
    const char* action;
    const char* state;
    int presentersView;  // code of its status view
  };
  // A presenter who has left tells the attendees that there is nothing to join any more.
  const Case cases[] = {
      {"session=refuse", "failed", 4},
      {"session=leave", "failed", 9},
      {"session=limit", "limit reached", 7},
      {"session=bandwidth", "stopped for bandwidth", 8},
  };
  for (const Case& ended : cases) {
    SCOPED_TRACE(ended.action);
    hold(sharing(clip("minute.mkv", "320x180", 60), 2),
         {{"it plays",
           [&] {
             return all({"attendee-1", "attendee-2"}, "playing");
           },
           [&] { act(ended.action); }},
          {"everybody knows", [&] {
             return all({"attendee-1", "attendee-2"}, ended.state);
           }}});
  }
}

// A presenter's end serves messages while it waits for threads; visitors may have sent such ones.
TEST_F(Attendees, LosePresentersWhoAreLostWhileTheyAreLost) {
  const auto again = [this](const char* action) {
    platform::dispatchOnMainThread([this, action] { meeting().act(action); });
  };
  hold(sharing(clip("minute.mkv", "320x180", 60), 1),
       {{"it plays", [&] { return status("attendee-1").state == "playing"; },
         [&] {
           again("presenter-crash");
           again("presenter-return");
           again("attendee=1 leave");
           again("presenter-crash");
           again("presenter-return");
           again("attendee=1 join");
           act("presenter-crash");
         }},
        {"a presenter is there in the end",
         [&] { return status("attendee-1").state == "playing"; }}});
  const auto& messages = meeting().report().messages;
  EXPECT_EQ(messages.at("SVS_MSG_START_SESSION"), messages.at("SVS_MSG_STOP_SESSION"));
}

TEST_F(Attendees, TurnTheirOwnSoundUpAndDown) {
  const auto volume = [this](int wanted) {
    return [this, wanted] { return std::abs(status("attendee-1").volume - wanted) <= 2; };
  };
  hold(sharing(clip("minute.mkv", "320x180", 60), 2),
       {{"they play",
         [&] {
           return all({"attendee-1", "attendee-2"}, "playing");
         },
         [&] { act("attendee=1 volume=80"); }},
        {"quieter", volume(80), [&] { act("attendee=1 mute"); }},
        {"silent", volume(0), [&] { act("attendee=1 unmute"); }},
        {"as before", volume(80), [&] { EXPECT_EQ(status("attendee-2").volume, 255); }}});
}

TEST_F(Attendees, FillTheClientsWindowWhenTheyAskForIt) {
  const auto filled = [this](bool wanted) {
    return [this, wanted] {
      return player("attendee-1")->fullscreen() == wanted &&
             player("presenter")->fullscreen() == wanted;
    };
  };
  hold(sharing(clip("minute.mkv", "320x180", 60), 1),
       {{"they play", [&] { return status("attendee-1").state == "playing"; },
         [&] { act("attendee=1 fullscreen"); }},
        {"the window is in fit mode", filled(true), [&] { act("fullscreen"); }},
        {"and no longer", filled(false)}});
}

TEST_F(Attendees, WatchARecordingToo) {
  Options options = sharing(clip("minute.mkv", "320x180", 60), 2);
  options.recording = true;
  hold(std::move(options),
       {{"it plays",
         [&] {
           return all({"attendee-1", "attendee-2"}, "playing");
         },
         [&] {
           meeting().setWatched("attendee-1", true);
           act("attendee=1 resize=320x180");
         }},
        {"pictures come", [&] { return status("attendee-2").frames > 10; }, [&] { act("pause"); }},
        {"and stand where it stands",
         [&] { return samePixels(picture("attendee-1").get(), picture("recording").get()); },
         [&] {
           EXPECT_EQ(status("attendee-1").duration, 60);
           act("seek=59.5");
           act("play");
         }},
        {"to its end", [&] {
           return all({"attendee-1", "attendee-2"}, "stopped");
         }}});
}

TEST_F(Attendees, SeeOneOfTwoDocumentsPlayAtATime) {
  Options options = sharing(clip("minute.mkv", "320x180", 60), 1);
  options.files.push_back(clip("small.mkv", "160x90", 60));
  hold(std::move(options),
       {{"the first plays",
         [&] {
           return status("attendee-1").state == "playing" &&
                  status("2/presenter").state == "joined";
         },
         [&] {
           act("controls=on");
           EXPECT_TRUE(player("presenter")->controlbarShown());
           act("document=2 controls=on");
           EXPECT_FALSE(player("presenter")->controlbarShown()) << "only one at a time";
           EXPECT_TRUE(player("2/presenter")->controlbarShown());
           act("document=2 play");
         }},
        {"the second makes it pause",
         [&] {
           return status("2/attendee-1").state == "playing" &&
                  status("presenter").state == "paused" && status("attendee-1").state == "paused";
         },
         [&] { act("play"); }},
        {"and the other way round",
         [&] {
           return status("presenter").state == "playing" && status("2/presenter").state == "paused";
         },
         [&] { EXPECT_EQ(status("2/attendee-1").width, 160U); }}});
}

}  // namespace
}  // namespace meeting
