// The framework's message router as one participant's object sees it: requests go to the platform's
// port of this participant or to the conference. [main-thread; media data also delivery-thread]
#pragma once

#include <string>

#include "meeting/Conference.h"
#include "meeting/MessageJournal.h"
#include "meeting/MultimediaPlatform.h"
#include "ucf/IUCFMsgRouter.h"

namespace meeting {

class Router final : public IUCFMsgRouter {
 public:
  // All must outlive the router. The journal knows its messages by `participant`.
  Router(Conference& conference, PlatformPort& port, MessageJournal& journal,
         std::string participant);

  UCFResult RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                         unsigned long uMsg, void* wParam, void* lParam) override;

 private:
  UCFResult answer(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type, unsigned long uMsg,
                   void* wParam, void* lParam);

  Conference& conference_;
  PlatformPort& port_;
  MessageJournal& journal_;
  const std::string participant_;
};

}  // namespace meeting
