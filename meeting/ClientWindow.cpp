#include "meeting/ClientWindow.h"

#include <utility>

#include "platform/Value.h"

namespace meeting {

namespace {

using platform::NotificationCenter;

// Asked by the plug-in.
constexpr const char* kEnterFit = "PDEnterFitNotification";
constexpr const char* kLeaveFit = "PDLeaveFitNotification";
constexpr const char* kAskViewMode = "PDSyncSharingViewModeNotification";
constexpr const char* kAskHolStatus = "PDQueryHOLStatusNotification";
// Answered by the window.
constexpr const char* kWillChangeFitMode = "PDWillChangeFitModeNotification";
constexpr const char* kViewModeChanged = "PDDidChangeSharingViewModeNotification";
constexpr const char* kViewModeKey = "PDSharingViewMode";
constexpr const char* kHolStatus = "HOLStatusNotification";
constexpr const char* kHolStatusKey = "Status";

}  // namespace

std::shared_ptr<ClientWindow> ClientWindow::open(std::function<void(bool)> showFitMode) {
  auto window = std::make_shared<ClientWindow>(std::move(showFitMode));
  NotificationCenter& center = NotificationCenter::defaultCenter();
  center.addObserver(window, &ClientWindow::enterFitMode, kEnterFit);
  center.addObserver(window, &ClientWindow::leaveFitMode, kLeaveFit);
  center.addObserver(window, &ClientWindow::tellViewMode, kAskViewMode);
  center.addObserver(window, &ClientWindow::tellHolStatus, kAskHolStatus);
  return window;
}

ClientWindow::ClientWindow(std::function<void(bool)> showFitMode)
    : showFitMode_(std::move(showFitMode)) {}

ClientWindow::~ClientWindow() { NotificationCenter::defaultCenter().removeObserver(*this); }

void ClientWindow::enterFitMode() { changeFitMode(true); }
void ClientWindow::leaveFitMode() { changeFitMode(false); }

void ClientWindow::changeFitMode(bool on) {
  if (fitMode_ == on) return;
  NotificationCenter::defaultCenter().post(kWillChangeFitMode);
  fitMode_ = on;
  tellViewMode();
}

void ClientWindow::tellViewMode() {
  const platform::Dictionary mode{{kViewModeKey, fitMode_ ? 1 : 0}};
  NotificationCenter::defaultCenter().post(kViewModeChanged, nullptr, &mode);
  showFitMode_(fitMode_);
}

// Nothing in this client forbids the fit mode.
void ClientWindow::tellHolStatus() {
  const platform::Dictionary status{{kHolStatusKey, false}};
  NotificationCenter::defaultCenter().post(kHolStatus, nullptr, &status);
}

}  // namespace meeting
