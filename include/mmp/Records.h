// Head shared by the records of both directions.
#ifndef MMP_RECORDS_H
#define MMP_RECORDS_H

#include "mmp/Layout.h"

// First 16 bytes of the records that name it; some others have fields of their own for these two.
struct tagMSHead {
  std::uint64_t sessionID;
  std::uint64_t sourceID;
};
MMP_RECORD(tagMSHead, 16);
MMP_FIELD(tagMSHead, sessionID, 0, 8);
MMP_FIELD(tagMSHead, sourceID, 8, 8);

#endif  // MMP_RECORDS_H
