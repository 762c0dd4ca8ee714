// The client window that the participants' views lie in: it answers what the plug-in asks of it
// through the notification centre. There is one in a process, so its view mode is everybody's.
// [main-thread]
#pragma once

#include <memory>

#include "platform/NotificationCenter.h"
#include "platform/Object.h"

namespace meeting {

class ClientWindow final : public platform::Object {
 public:
  static std::shared_ptr<ClientWindow> open();
  ~ClientWindow() override;

  bool isFitMode() const { return fitMode_; }

 private:
  void enterFitMode();
  void leaveFitMode();
  void tellViewMode();
  void tellHolStatus();
  void changeFitMode(bool on);

  bool fitMode_ = false;
};

}  // namespace meeting
