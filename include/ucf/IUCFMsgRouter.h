// Message routing between modules: offered by the host (towards platform and conference) and by
// each object (towards itself).
#ifndef UCF_IUCFMSGROUTER_H
#define UCF_IUCFMSGROUTER_H

#include "ucf/Slots.h"
#include "ucf/Types.h"

// Message families that an object receives in `type`.
enum UCFRouteType : unsigned long {
  ROUTE_TYPE_SESSION = 0,         // ucf/SessionMessages.h
  ROUTE_TYPE_NB = 1,              // logged, otherwise ignored
  ROUTE_TYPE_MEDIASTREAMING = 2,  // mmp/StatusRecords.h
};

class UCF_INTERFACE IUCFMsgRouter {
 public:
  UCF_SLOTS_BEGIN;

  // Delivers one message synchronously. `wParam` and `lParam` point to records that their sender
  // owns; they are valid for the duration of the call, and the receiver may fill them where the
  // message says so.
  // Returns, from the host's router: nonzero for success. From an object: always 0.
  // The host's router is called in all states of an object, an object's only while it is live.
  // [main-thread, for media data requests delivery-thread; creating, live, releasing]
  UCF_SLOT(0);
  virtual UCFResult RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                                 unsigned long uMsg, void* wParam, void* lParam) = 0;

 protected:
  ~IUCFMsgRouter() = default;
};

#endif  // UCF_IUCFMSGROUTER_H
