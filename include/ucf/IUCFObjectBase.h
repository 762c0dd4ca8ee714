// Lifetime, activation and UI of an object: the face that the host drives it by.
#ifndef UCF_IUCFOBJECTBASE_H
#define UCF_IUCFOBJECTBASE_H

#include "ucf/Slots.h"
#include "ucf/Types.h"

class UCF_INTERFACE IUCFObjectBase {
 public:
  UCF_SLOTS_BEGIN;

  // Stores the requested face of the object in `*out`; no reference is added, the pointer is valid
  // until Release. An identifier that is not served stores null and gives UCF_E_NOINTERFACE.
  // [main-thread; live]
  UCF_SLOT(0);
  virtual UCFResult GetUCFInterface(UCFInterfaceID id, void** out) = 0;

  // The host's last call: tears the object down and deletes it. [main-thread; live]
  UCF_SLOT(1);
  virtual void Release() = 0;

  // Tells the usage mode; the answer 0 says that the object outlives its deactivation.
  // [main-thread; live]
  UCF_SLOT(2);
  virtual UCFResult IsReleaseOnKillActive(UCFUsageMode mode) = 0;

  // The document got, or lost, the focus. Returns 0. [main-thread; live]
  UCF_SLOT(3);
  virtual UCFResult OnSetActive(unsigned char active) = 0;
  UCF_SLOT(4);
  virtual UCFResult OnKillActive() = 0;

  // Draws the object while it is not active; this module draws nothing. Returns 0.
  // [main-thread; live]
  UCF_SLOT(5);
  virtual UCFResult DrawInactiveUI(void* parentView, tagUCFRect* rect) = 0;

  // Makes the object visible. `parentView` is a view handle that the host owns and keeps alive
  // until DestroyActiveUI or OnParentWindowChanged; `rect` is read during the call.
  // Returns 0, UCF_E_NO_CONTAINER, UCF_E_INVALID_ARG, or UCF_E_CREATE_FAILED without memory.
  // [main-thread; live]
  UCF_SLOT(6);
  virtual UCFResult CreateActiveUI(void* parentView, tagUCFRect* rect) = 0;

  // Hides the object; CreateActiveUI may follow again. Returns 0. [main-thread; live]
  UCF_SLOT(7);
  virtual UCFResult DestroyActiveUI() = 0;

  // The rectangle inside the parent view changed. [main-thread; live]
  UCF_SLOT(8);
  virtual void OnPositionChanged(tagUCFRect* rect) = 0;

  // The parent view itself changed. [main-thread; live]
  UCF_SLOT(9);
  virtual void OnParentWindowChanged(void* parentView) = 0;

 protected:
  // Slots 10 and 11 (complete object, deleting). Hosts end an object with Release.
  virtual ~IUCFObjectBase() = default;
};

#endif  // UCF_IUCFOBJECTBASE_H
