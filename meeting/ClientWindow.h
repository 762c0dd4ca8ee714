// The client window that the participants' views lie in: it answers what the plug-in asks of it
// through the notification centre. There is one in a process, so its view mode is everybody's.
// [main-thread]
#pragma once

#include <functional>
#include <memory>

#include "platform/NotificationCenter.h"
#include "platform/Object.h"

namespace meeting {

class ClientWindow final : public platform::Object {
 public:
  // `showFitMode` is told the mode whenever it has changed or somebody asks for it: it gives the
  // views the place that goes with it.
  static std::shared_ptr<ClientWindow> open(std::function<void(bool)> showFitMode);
  explicit ClientWindow(std::function<void(bool)> showFitMode);
  ~ClientWindow() override;

 private:
  void enterFitMode();
  void leaveFitMode();
  void tellViewMode();
  void tellHolStatus();
  void changeFitMode(bool on);

  const std::function<void(bool)> showFitMode_;
  bool fitMode_ = false;
};

}  // namespace meeting
