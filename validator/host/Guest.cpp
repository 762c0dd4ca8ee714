#include "validator/host/Guest.h"

#include <string>
#include <utility>

#include "platform/RunLoop.h"
#include "validator/host/StatusChecks.h"

namespace hostcheck {

namespace {

using namespace std::string_literals;

void note(Check check, bool holds, const std::string& reason) {
  Findings::shared().note(check, holds, reason);
}

platform::Rect rectOf(const tagUCFRect& rect) {
  return {
      {0, 0},
      {static_cast<double>(rect.right - rect.left), static_cast<double>(rect.bottom - rect.top)}};
}

}  // namespace

Guest::Guest(IUCFContainerBase& container, UCFCtx context)
    : container_(container),
      router_(std::make_shared<RouterCalls>(container_.router(), context)),
      presents_(container_.presents()),
      live_(container_.liveMeeting()),
      view_(std::make_shared<platform::View>()),
      render_(std::make_shared<platform::View>()) {
  view_->addSubview(render_);
  container_.checkFilePath(presents_ && context == 0);
  container_.checkIdentity(presents_ && live_);
  router_->tell(SVS_MSG_START_SESSION);
}

bool Guest::enter(Check thread, const char* call) const {
  note(thread, platform::isMainThread(), call + " came on another thread than the main one"s);
  if (released_)
    note(Check::nothingAfterRelease, false, call + " came after the object's Release"s);
  return platform::isMainThread() && !released_;
}

MM_MEDIASTREAMING_CHANNLE_TYPE Guest::channel() const {
  return presents_ ? MM_MEDIASTREAMING_CHANNEL_SOURCE : MM_MEDIASTREAMING_CHANNEL_LISTENER;
}

// --- life ---

UCFResult Guest::GetUCFInterface(UCFInterfaceID id, void** out) {
  if (!enter() || out == nullptr) return UCF_E_INVALID_ARG;
  switch (id) {
    case UCF_IID_OBJECT_BASE:
    case UCF_IID_OBJECT_BASE_2:
      *out = static_cast<IUCFObjectBase*>(this);
      return UCF_OK;
    case UCF_IID_OBJECT_RUNTIME:
      *out = static_cast<IUCFObjectRuntime*>(this);
      return UCF_OK;
    case UCF_IID_OBJECT_MSG_ROUTER:
      *out = static_cast<IUCFMsgRouter*>(this);
      return UCF_OK;
    default:
      *out = nullptr;
      return UCF_E_NOINTERFACE;
  }
}

void Guest::Release() {
  if (!enter()) return;
  if (active_) checkViewKept();
  // From here on nothing may come in; the stream serves the main thread's messages as it ends.
  released_ = true;
  stream_.reset();
  router_->expectRefusals();  // a host that gives up a participant may have closed its channel
  if (rendered_) withdrawRender();
  if (registered_) router_->unregisterChannel(channel());
  router_->tell(SVS_MSG_STOP_SESSION);
  view_->removeFromSuperview();
  note(Check::nothingAfterRelease, true, "");
}

void Guest::checkAfterEnd() const {
  checkHeard();
  if (awaitsMediaInfo_)
    note(Check::parameterData, false,
         "parameter data 0 did not come to a listener that had asked for it (slots 12 and 14)");
  if (withdrawn_)
    note(Check::renderWithdrawn, render_->contents() == nullptr,
         "a picture was drawn into a view after it had been withdrawn");
}

void Guest::checkWatched(const Guest& presenter) const {
  if (!presents_ && presenter.sharedToEnd_ &&
      presenter.router_->ids().sourceID == router_->ids().sourceID)
    watch_.check(*presenter.sharedToEnd_);
}

// --- the host's items ---

UCFResult Guest::IsReleaseOnKillActive(UCFUsageMode mode) {
  if (enter()) keepsItems_ = mode == UCF_USAGE_KEEP_ITEM_STATES;
  return 0;
}

UCFResult Guest::OnSetActive(unsigned char /*active*/) {
  if (enter() && live_) container_.setItemState(UCF_ITEM_801, 0);
  return UCF_OK;
}

UCFResult Guest::OnKillActive() {
  if (!enter() || !live_ || keepsItems_) return UCF_OK;
  container_.setItemState(UCF_ITEM_800, 1);
  container_.setItemState(UCF_ITEM_801, 1);
  return UCF_OK;
}

void Guest::resetItems() {
  if (!live_ || keepsItems_) return;
  for (std::uint32_t item = UCF_ITEM_800; item <= UCF_ITEM_803; ++item)
    container_.setItemState(item, 0);
}

// --- the view ---

UCFResult Guest::DrawInactiveUI(void* /*parentView*/, tagUCFRect* /*rect*/) {
  enter();
  return UCF_OK;
}

UCFResult Guest::CreateActiveUI(void* parentView, tagUCFRect* rect) {
  if (!enter()) return UCF_E_CREATE_FAILED;
  note(Check::activationOrder, !active_, "CreateActiveUI came twice without DestroyActiveUI");
  note(Check::viewUsable, parentView != nullptr && rect != nullptr,
       "CreateActiveUI came without a parent view or a rectangle");
  if (parentView == nullptr || rect == nullptr) return UCF_E_INVALID_ARG;
  active_ = true;
  view_->setFrame(rectOf(*rect));
  render_->setFrame(view_->frame());
  showIn(*static_cast<platform::View*>(parentView));
  if (live_) container_.setItemState(UCF_ITEM_800, 0);
  if (!std::exchange(shownBefore_, true)) showFirst();
  if (!presents_ && (joined_ || !live_)) attachRender();
  return UCF_OK;
}

void Guest::showFirst() {
  container_.checkSharedProperties();
  router_->askSessionProbe();
  if (presents_) return;
  if (live_) onChannelAnswered(router_->askChannelStatus());
  container_.requestMediaInfo();
  container_.askWhetherJoinFailed(router_->ids());
}

void Guest::showIn(platform::View& parent) {
  parent.addSubview(view_);
  note(Check::viewUsable,
       view_->superview() == &parent && !parent.subviews().empty() &&
           parent.subviews().back() == view_,
       "a view that was placed into the parent view is not there");
}

// A view that dies lets its subviews go.
void Guest::checkViewKept() const {
  note(Check::viewKept, view_->superview() != nullptr,
       "the parent view was gone before the document was hidden");
}

UCFResult Guest::DestroyActiveUI() {
  if (!enter()) return UCF_OK;
  note(Check::activationOrder, active_, "DestroyActiveUI came to a document that was not shown");
  if (!active_) return UCF_OK;
  active_ = false;
  checkViewKept();
  resetItems();
  if (rendered_) {
    if (registered_) router_->sourceStatus(channel(), MM_MEDIASTREAMING_PD_INACTIVE);
    withdrawRender();
  }
  view_->removeFromSuperview();
  return UCF_OK;
}

void Guest::OnPositionChanged(tagUCFRect* rect) {
  if (!enter()) return;
  note(Check::viewUsable, rect != nullptr, "OnPositionChanged came without a rectangle");
  if (rect == nullptr) return;
  view_->setFrame(rectOf(*rect));
  render_->setFrame(view_->frame());
}

void Guest::OnParentWindowChanged(void* parentView) {
  if (!enter() || !active_) return;
  checkViewKept();
  note(Check::viewUsable, parentView != nullptr, "OnParentWindowChanged came without a view");
  if (parentView != nullptr) showIn(*static_cast<platform::View*>(parentView));
}

void Guest::attachRender() {
  rendered_ = true;
  withdrawn_ = false;
  router_->setRender(reinterpret_cast<std::uint64_t>(render_.get()));
  if (joined_) watch_.begin();
}

void Guest::withdrawRender() {
  rendered_ = false;
  watch_.end();
  router_->setRender(0);
  withdrawn_ = true;
  render_->setContents(nullptr);
}

// --- data of other participants ---

void Guest::OnCommandData(unsigned char* data, unsigned int length, unsigned long, unsigned int) {
  if (!enter()) return;
  const auto question = checkCommand(data, length);
  const bool echo = question && container_.isOwnUser(question->sender);
  note(Check::noEcho, !echo, "a command came back to the participant that had sent it");
  if (!question || !question->whole || echo) return;
  router_->checkSameDocument(question->whole->ids);
  const std::uint32_t receiver = question->whole->receiver;
  const bool forAll = receiver == SVS_USER_EVERYBODY;
  note(Check::commandReceivers, forAll || !container_.isOtherUser(receiver),
       "a command for user " + std::to_string(receiver) + " came to another");
  (forAll ? heard_[question->sender].forAll : heard_[question->sender].forOne) = true;
}

// Who asks the presenter asks everybody, too.
void Guest::checkHeard() const {
  if (!presents_) return;
  for (const auto& [sender, commands] : heard_)
    note(Check::commandReceivers, commands.forOne && commands.forAll,
         "of user " + std::to_string(sender) + "'s two commands only that of " +
             (commands.forAll ? "SendDataToAll (slot 2)" : "SendDataToUser (slot 3)") + " came");
}

void Guest::OnParameterData(unsigned int id, unsigned char* data, unsigned int length) {
  if (!enter()) return;
  checkParameterData(id, data, length);
  if (id != STM_PARAMETER_MEDIA_INFO) return;
  awaitsMediaInfo_ = false;
  mediaKnown_ = true;
  registerListener();
}

void Guest::OnUserRoleChanged(unsigned int role) {
  if (!enter()) return;
  note(Check::role, (role & (UCF_ROLE_PRESENTER | UCF_ROLE_ATTENDEE)) != 0,
       "a role came that is neither presenter nor attendee");
}

}  // namespace hostcheck
