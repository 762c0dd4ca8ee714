// The framework's message router as one participant's object sees it: requests go to the platform's
// port of this participant or to the conference. [main-thread; media data also delivery-thread]
#pragma once

#include "meeting/Conference.h"
#include "meeting/MessageNames.h"
#include "meeting/MultimediaPlatform.h"
#include "ucf/IUCFMsgRouter.h"

namespace meeting {

class Router final : public IUCFMsgRouter {
 public:
  // All must outlive the router.
  Router(Conference& conference, PlatformPort& port, MessageCounts& counts);

  UCFResult RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                         unsigned long uMsg, void* wParam, void* lParam) override;

 private:
  Conference& conference_;
  PlatformPort& port_;
  MessageCounts& counts_;
};

}  // namespace meeting
