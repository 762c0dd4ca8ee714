#include "meeting/Router.h"

namespace meeting {

Router::Router(Conference& conference, PlatformPort& port, MessageCounts& counts)
    : conference_(conference), port_(port), counts_(counts) {}

UCFResult Router::RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                               unsigned long uMsg, void* wParam, void* lParam) {
  counts_.count(Direction::toHost, type, uMsg);
  if (from != MODULE_TYPE_SVS) return 0;
  if (to == MODULE_TYPE_MMP) return port_.request(type, uMsg, wParam);
  if (to == MODULE_TYPE_CONF) return conference_.request(type, wParam, lParam);
  return 0;
}

}  // namespace meeting
