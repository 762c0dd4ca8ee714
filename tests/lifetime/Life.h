// One life of an object of the built plug-in, with a real file, in a host that ends it at a chosen
// point. Points are every call of the host, every notification, every sample and the first turns of
// the run loop after every step. Once Release has returned, a call of the host is a failure.
//
// The main run loop is on a stepped clock; playing takes the time that it takes. [main-thread]
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "avcapture/KTVideoPlayer.h"
#include "platform/NotificationCenter.h"
#include "platform/View.h"
#include "ucf/IUCFObjectBase.h"
#include "ucf/IUCFObjectRuntime.h"
#include "validator/cases/Module.h"
#include "validator/cases/RecordingHost.h"

namespace lifetime {

// A recording host whose samples, too, can be watched.
class Host final : public contract::RecordingHost {
 public:
  std::function<void(const tagMSDataStructure&)> onSample;  // [delivery-thread]

  UCFResult RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                         unsigned long uMsg, void* wParam, void* lParam) override;
};

struct Kind {
  const char* name;
  bool source = false;
  UCFCtx context = 0;  // 0: embedded
  bool recording = false;
  bool paced = false;   // plays in real time; else as fast as it can
  bool posted = false;  // the release is posted to the main thread; else done at the point, if it
                        // is there
};

inline void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }

// A step of a life: what is done, and what is waited for then.
struct Step {
  const char* name;
  std::function<void()> act;
  std::function<bool()> until = [] { return true; };
};

class Life : public std::enable_shared_from_this<Life> {
 public:
  static constexpr int kToTheEnd = -1;

  // `point`: how many points to live through, or kToTheEnd.
  Life(const contract::Module& module, const Kind& kind, std::string file, int point = kToTheEnd);
  ~Life();
  Life(const Life&) = delete;
  Life& operator=(const Life&) = delete;

  // Lives through the steps, or until the point; whether it got there. Fails when a step is not
  // reached within half a minute.
  bool live(const std::vector<Step>& steps);
  // Its own steps: all that can happen to a source or to a listener.
  std::vector<Step> everything();
  // From creation to a stream that flows, or to a listener that has joined.
  std::vector<Step> start();
  // Ends it, if that has not happened yet, and lets what was put off happen.
  void end();

  // Turns the run loop once, a tenth of a second later, with all lives that there are.
  static void turn();
  // Turns it until `done`; false when that takes more than half a minute.
  static bool turnUntil(const std::function<bool()>& done);

  // For steps.
  void session(unsigned long message);
  template <class Record>
  void status(unsigned long message, Record record);
  void channelStatus(std::uint32_t status);
  void mediaInfo();
  std::shared_ptr<avcapture::KTVideoPlayer> view() const;
  bool said(const std::string& start);  // whether the host was told so since the last step began
  int points() const { return points_; }
  contract::Lines& lines() { return lines_; }

  Host host;
  std::function<void(const tagMSDataStructure&)> onSample;  // [delivery-thread]

  // Of the calls that stop, hide or release.
  static inline std::chrono::duration<double> longestCall{};

 private:
  class Ear;

  void at(bool onMainThread);
  void release();
  static void timed(const std::function<void()>& call);
  std::vector<Step> sourceSteps();
  std::vector<Step> listenerSteps();
  void post(const char* name, const platform::Dictionary& info = {});

  const contract::Module& module_;
  const Kind kind_;
  const std::string file_;
  const int point_;
  int turns_ = 0;  // of the run loop since the last step began
  std::atomic<int> points_{0};
  std::atomic<bool> born_{false}, reached_{false}, ended_{false};
  contract::Lines lines_;
  std::shared_ptr<platform::View> parent_ = std::make_shared<platform::View>();
  tagUCFRect rect_{0, 0, 640, 360};
  std::shared_ptr<Ear> ear_;
  IUCFObjectBase* object_ = nullptr;
  IUCFObjectRuntime* runtime_ = nullptr;
  IUCFMsgRouter* router_ = nullptr;

  static inline std::set<Life*> lives;
};

}  // namespace lifetime
