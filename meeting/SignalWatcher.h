// Turns SIGINT and SIGTERM into a call. The first one asks for an orderly end; a second one ends
// the program at once, so that it can always be stopped.
//
// Threads: constructed and destroyed on the main thread, before and after all others, whose signal
// masks follow from it. The call is made on a thread of its own.
#pragma once

#include <functional>
#include <thread>

namespace meeting {

class SignalWatcher {
 public:
  explicit SignalWatcher(std::function<void(int)> onSignal);
  ~SignalWatcher();
  SignalWatcher(const SignalWatcher&) = delete;
  SignalWatcher& operator=(const SignalWatcher&) = delete;

 private:
  void watch();

  std::function<void(int)> onSignal_;
  int signals_;  // descriptor that reads the signals
  int ending_;   // descriptor that the destructor makes readable
  std::thread thread_;
};

}  // namespace meeting
