// A host of a presenter and a listener that makes the one mistake it is asked for.
// usage: wrong-host MODULE MISTAKE [SIGNAL], with MISTAKE "none" for a host that makes none. A
// SIGNAL ends it in the middle of the movie.
#include "tests/validator/WrongHost.h"

#include <sys/resource.h>

#include <cstdlib>
#include <functional>
#include <thread>
#include <utility>

#include "ucf/SessionMessages.h"
#include "validator/cases/Module.h"

using namespace wronghost;

namespace {

void onAnotherThread(const std::function<void()>& work) { std::thread(work).join(); }

void show(Host& host) {
  tagUCFRect rect{0, 0, 640, 360};
  platform::View* const view = makes("no view") ? nullptr : host.view.get();
  host.shown = host.object->CreateActiveUI(view, &rect) == UCF_OK;
  if (host.shown) host.object->OnSetActive(1);
  if (makes("shows twice")) host.object->CreateActiveUI(host.view.get(), &rect);
  if (makes("calls from a thread")) onAnotherThread([&] { host.object->OnSetActive(1); });
  if (makes("tells from a thread"))
    onAnotherThread([&] { host.tell(ROUTE_TYPE_SESSION, SESSION_MSG_JOIN_CONFIRM); });
}

void open(Host& host, const contract::Module& module) {
  char file[] = "movie";
  const UCFResult created = module.createInstance(
      &host, nullptr, 0, makes("no file name") ? nullptr : file, nullptr, 0, &host.object);
  if (created != UCF_OK && makes("throws")) return;
  if (created != UCF_OK) std::exit(1);
  host.findFaces();
  show(host);
}

// A value that is listed nowhere.
template <class Record>
void tellUnlisted(const Host& host, unsigned long status, std::uint32_t Record::*field) {
  Record record{};
  record.head = {1001, 1};
  record.*field = 9;
  host.tell(ROUTE_TYPE_MEDIASTREAMING, status, &record);
}

void tellWhatChangesNothing(const Host& host) {
  host.tell(ROUTE_TYPE_NB, 9);
  host.tell(ROUTE_TYPE_MEDIASTREAMING, 1);
  host.tellChannel(1);
  tellUnlisted(host, MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS, &tagMSChannelStatus::dwStatus);
  tellUnlisted(host, MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS,
               &tagMSPlayStatus::dwPlayStatus);
  tellUnlisted(host, MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION, &tagMSVideoInfo::dwInfoKind);
}

// Ends a run of the loop in which nothing plays: after more turns than what is under way can take.
void stopAfter(int turns) {
  platform::dispatchOnMainThread([turns] {
    if (turns == 0) return platform::RunLoop::main().stop();
    stopAfter(turns - 1);
  });
}

void share(Host& host) {
  if (makes("stalls, not confirmed")) return;
  if (makes("stalls, refused")) host.tell(ROUTE_TYPE_SESSION, SESSION_MSG_JOIN_FAILED);
  if (makes("stalls, refused")) return;
  host.tell(ROUTE_TYPE_SESSION, SESSION_MSG_JOIN_CONFIRM);
  host.other->tell(ROUTE_TYPE_SESSION, SESSION_MSG_JOIN_CONFIRM);
  if (makes("unknown message")) host.tell(ROUTE_TYPE_SESSION, 77);
  if (makes("tells what changes nothing")) tellWhatChangesNothing(host);
  if (makes("status without a record"))
    host.tell(ROUTE_TYPE_MEDIASTREAMING, MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS);
  if (makes("pictures without a size")) {
    tagMSVideoInfo info{};
    host.tell(ROUTE_TYPE_MEDIASTREAMING, MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION, &info);
  }
  if (makes("stalls, without a turn")) return;
  if (mistake.starts_with("stalls")) stopAfter(50);
  platform::RunLoop& loop = platform::RunLoop::main();
  loop.runUntil(loop.now() + std::chrono::seconds(60));
}

void close(Host& host) {
  if (makes("lets the view die")) host.view.reset();
  host.objectRuntime = nullptr;
  if (host.shown) host.object->OnKillActive();
  if (host.shown) host.object->DestroyActiveUI();
  IUCFMsgRouter* const router = std::exchange(host.objectRouter, nullptr);
  host.object->Release();
  if (makes("tells after release"))
    router->RouteMessage(MODULE_TYPE_MMP, MODULE_TYPE_SVS, ROUTE_TYPE_SESSION, SESSION_MSG_LEFT,
                         nullptr, nullptr);
  if (makes("draws after withdrawal") && host.render())
    host.render()->setContents(std::make_shared<platform::Image>());
}

}  // namespace

const char* contract::pluginCode() { return ""; }  // named on the command line

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  mistake = argv[2];
  if (argc > 3) ending = std::atoi(argv[3]);
  const rlimit noCore{0, 0};
  setrlimit(RLIMIT_CORE, &noCore);
  const contract::Module module(argv[1]);
  if (module.createInstance == nullptr) return 1;
  if (!makes("does not ask the version")) module.getInterfaceVersion();
  if (!makes("does not initialize")) module.initialize();
  Host presenter(kPresenter);
  Host listener(kListener);
  presenter.other = &listener;
  listener.other = &presenter;
  open(presenter, module);
  Host third(kListener + 1);
  third.other = &presenter;
  if (makes("misdirects commands") || makes("throws")) open(*(listener.other = &third), module);
  open(listener, module);
  listener.other = &presenter;
  if (makes("exports from a thread")) onAnotherThread([&] { module.deleteInstance(nullptr); });
  share(presenter);
  if (makes("cleans up too early")) module.cleanup();
  close(presenter);
  close(listener);
  if (third.object != nullptr) close(third);
  if (!makes("does not clean up")) module.cleanup();
  return 0;
}
