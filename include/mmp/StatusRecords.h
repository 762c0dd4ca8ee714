// Records of the status messages that the multimedia platform routes to an object. The platform
// owns them; they are valid for the duration of the call. [main-thread]
#ifndef MMP_STATUSRECORDS_H
#define MMP_STATUSRECORDS_H

#include "mmp/Enumerations.h"
#include "mmp/Records.h"

// MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE
struct tagMSVideoQuality {
  tagMSHead head;
  std::int32_t nQuality;  // the platform's own measure; the plug-in notes it in the log
  float fFps;             // frames per second
};
MMP_RECORD(tagMSVideoQuality, 24);
MMP_FIELD(tagMSVideoQuality, nQuality, 16, 4);
MMP_FIELD(tagMSVideoQuality, fFps, 20, 4);

// MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION
struct tagMSPlayPosition {
  tagMSHead head;
  std::uint64_t dwPosition;  // milliseconds
};
MMP_RECORD(tagMSPlayPosition, 24);
MMP_FIELD(tagMSPlayPosition, dwPosition, 16, 8);

// MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS; its first 20 bytes are read.
struct tagMSPlayStatus {
  tagMSHead head;
  std::uint32_t dwPlayStatus;  // MM_MEDIA_STREAMING_PLAYSTATUS
  std::uint32_t padding;       // follows from the head's alignment; never read
};
MMP_RECORD(tagMSPlayStatus, 24);
MMP_FIELD(tagMSPlayStatus, dwPlayStatus, 16, 4);

// MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS; its first 28 bytes are read.
struct tagMSChannelStatus {
  tagMSHead head;
  std::uint64_t dwUnused;  // 0 in records that the module builds itself
  std::uint32_t dwStatus;  // MM_MEDIA_STREAMING_CHANNEL_STATUS
  std::uint32_t padding;   // follows from the head's alignment; never read
};
MMP_RECORD(tagMSChannelStatus, 32);
MMP_FIELD(tagMSChannelStatus, dwUnused, 16, 8);
MMP_FIELD(tagMSChannelStatus, dwStatus, 24, 4);

// MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION
struct tagMSVideoInfo {
  tagMSHead head;
  std::uint32_t dwInfoKind;  // MM_MEDIASTREAMING_VIDEO_INFO_KIND
  std::uint16_t wWidth;      // pixels
  std::uint16_t wHeight;     // pixels
};
MMP_RECORD(tagMSVideoInfo, 24);
MMP_FIELD(tagMSVideoInfo, dwInfoKind, 16, 4);
MMP_FIELD(tagMSVideoInfo, wWidth, 20, 2);
MMP_FIELD(tagMSVideoInfo, wHeight, 22, 2);

#endif  // MMP_STATUSRECORDS_H
