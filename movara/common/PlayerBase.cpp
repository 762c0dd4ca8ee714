#include "movara/common/PlayerBase.h"

void RefObject::release() {
  if (--m_nRefCount == 0) delete this;
}
