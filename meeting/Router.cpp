#include "meeting/Router.h"

#include <utility>

namespace meeting {

Router::Router(Conference& conference, PlatformPort& port, MessageJournal& journal,
               std::string participant)
    : conference_(conference),
      port_(port),
      journal_(journal),
      participant_(std::move(participant)) {}

UCFResult Router::RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                               unsigned long uMsg, void* wParam, void* lParam) {
  const UCFResult result = answer(from, to, type, uMsg, wParam, lParam);
  journal_.record(participant_, Direction::toHost, {from, to}, type, uMsg, wParam, lParam, result);
  return result;
}

UCFResult Router::answer(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                         unsigned long uMsg, void* wParam, void* lParam) {
  if (from != MODULE_TYPE_SVS) return 0;
  if (to == MODULE_TYPE_MMP) return port_.request(type, uMsg, wParam);
  if (to == MODULE_TYPE_CONF) return conference_.request(type, wParam, lParam);
  return 0;
}

}  // namespace meeting
