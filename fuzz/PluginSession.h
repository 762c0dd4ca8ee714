// The built plug-in in the hands of a host that does and answers what the input says, over a player
// view that plays nothing. Whoever uses it has only to say what is peculiar to a target.
#pragma once

#include <memory>
#include <string>

#include "fuzz/Target.h"
#include "validator/cases/ContractFixture.h"

namespace fuzz {

class PluginSession : public contract::ContractTest {
 public:
  using Step = void (*)(PluginSession& session);

  // Makes an object, and takes it some way into a meeting.
  explicit PluginSession(Input& input);
  // Ends the object: nothing of it may be left.
  ~PluginSession() override;

  // One of the steps, or, less often, of what every host does; until the input has been used up.
  template <std::size_t kCount>
  void run(const Step (&steps)[kCount]) {
    while (in.remaining_bytes() > 0) {
      if (in.ConsumeIntegralInRange(0, 3) == 0) {
        anything();
      } else {
        in.PickValueInArray(steps)(*this);
      }
    }
  }

  // Whether there is an object: the host may release it from within any of its calls.
  bool alive() const { return object != nullptr; }
  // Mostly the object's own.
  std::uint64_t sourceID();

  using ContractTest::advance;
  using ContractTest::host;
  using ContractTest::object;
  using ContractTest::router;
  using ContractTest::runMainThread;
  using ContractTest::runtime;
  using ContractTest::streamListener;
  using ContractTest::view;

  Input& in;

 private:
  void TestBody() override {}
  void begin();
  void listenToHost();
  void anything();

  // What every host does.
  void tick();
  void activate();
  void deactivate();
  void place();
  void changeRole();
  void answer();
  void useView();
  void changeView();
  void notifyAll();
  void releaseNow();
  void endOrBegin();

  int callsUntilRelease_ = 0;  // from within the host; 0 for never
  bool released_ = false;
  bool embedded_ = true;  // all objects so far
  std::shared_ptr<platform::View> otherParent_ = std::make_shared<platform::View>();
};

// The step, as long as there is an object.
template <PluginSession::Step kStep>
void ifAlive(PluginSession& session) {
  if (session.alive()) kStep(session);
}

}  // namespace fuzz
