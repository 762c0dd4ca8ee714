// Hosts that release an object from within one of its own calls, at every moment there is.
#include "validator/cases/ContractFixture.h"

namespace contract {
namespace {

class ReleaseTest : public ContractTest {
 protected:
  struct Scene {
    const char* name;
    std::function<void()> before;
    std::function<void()> act;
  };

  // Releases within the call number `moment` of the act; false when there were fewer.
  bool releasesAt(const Scene& scene, int moment) {
    scene.before();
    forget();
    const FakeVideoPlayer* const before = view();
    int calls = 0;
    host.within = [&](const std::string&) {
      if (calls++ == moment) {
        release();
      }
    };
    scene.act();
    host.within = nullptr;
    const bool released = object == nullptr;
    if (released) {
      EXPECT_EQ(host.take().back(), "session 102") << "nothing follows the end";
      EXPECT_TRUE(view() == nullptr || view()->delegate == nullptr) << "the player has ended";
      EXPECT_TRUE(before == nullptr || view() == before) << "and no other was made";
    }
    end();
    FakeFramework::view = nullptr;
    return released;
  }
};

CONTRACT_CASE(ReleaseTest, EndsAtOnceAndNothingFollows, endings,
              "a release within any of its calls is the last of them") {
  const auto createUI = [this] { object->CreateActiveUI(parent.get(), &rect); };
  const auto question = [this] {
    unsigned char record[16] = {16, 0, 0, 0, 2};
    runtime->OnCommandData(record, 16, 0, 0);
  };
  const Scene scenes[] = {
      {"a source's activation", [this] { create(); }, createUI},
      {"a source's second activation", [this] { present(); }, createUI},
      {"a listener's activation", [this] { createListener(); }, createUI},
      {"opening", [this] { openAtTheNextTick(); }, [] { ticks(1); }},
      {"opening at the host's message", [this] { openAtTheNextTick(); },
       [this] { session(SESSION_MSG_JOIN_CONFIRM); }},
      {"joining", [this] { open(); },
       [this] { channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS); }},
      {"reconnecting",
       [this] {
         listen();
         mediaInfo({});
         channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
         mediaInfo({});
       },
       [this] { channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM); }},
      {"media info",
       [this] {
         listen();
         channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
       },
       [this] { mediaInfo({}); }},
      {"a failed join", [this] { present(); }, [this] { session(SESSION_MSG_JOIN_FAILED); }},
      {"the question for one",
       [this] {
         create();
         session(SESSION_MSG_JOIN_FAILED);
       },
       question},
      {"play", [this] { present(); }, [] { view()->delegate->onPlay(nullptr); }},
      {"hiding", [this] { present(); }, [this] { object->DestroyActiveUI(); }},
      {"losing focus", [this] { present(); }, [this] { object->OnKillActive(); }},
  };
  for (const Scene& scene : scenes) {
    host.runtimeMode = 0;
    host.role = UCF_ROLE_PRESENTER;
    int moment = 0;
    while (releasesAt(scene, moment)) {
      SCOPED_TRACE(testing::Message() << scene.name << " at call " << moment);
      ++moment;
      host.runtimeMode = 0;
      host.role = UCF_ROLE_PRESENTER;
    }
    EXPECT_GT(moment, 0) << scene.name;
  }
}

}  // namespace
}  // namespace contract
