// Records of the requests that a module sends to the multimedia platform. Little-endian, natural
// alignment. A record lives for the call that carries it unless its comment says otherwise.
#ifndef MMP_REQUESTRECORDS_H
#define MMP_REQUESTRECORDS_H

#include "mmp/Enumerations.h"
#include "mmp/Records.h"

// MM_MEDIASTREAMING_CMD_REGISTER
struct tagMSRegisterInfo {
  tagMSHead head;
  MM_MEDIASTREAMING_CHANNLE_TYPE eChannelType;
  std::uint32_t padding0;
  std::uint64_t dwDuration;  // source: milliseconds; listener: whole seconds
  MM_MEDIASTREAMING_MEDIACONTENENT eMediaContent;
  std::uint32_t padding1;
};
MMP_RECORD(tagMSRegisterInfo, 40);
MMP_FIELD(tagMSRegisterInfo, head, 0, 16);
MMP_FIELD(tagMSRegisterInfo, eChannelType, 16, 4);
MMP_FIELD(tagMSRegisterInfo, dwDuration, 24, 8);
MMP_FIELD(tagMSRegisterInfo, eMediaContent, 32, 4);

// MM_MEDIASTREAMING_CMD_UNREGISTER
struct tagMSUnRegisterInfo {
  tagMSHead head;
  MM_MEDIASTREAMING_CHANNLE_TYPE eChannelType;
  std::uint32_t padding;
};
MMP_RECORD(tagMSUnRegisterInfo, 24);
MMP_FIELD(tagMSUnRegisterInfo, head, 0, 16);
MMP_FIELD(tagMSUnRegisterInfo, eChannelType, 16, 4);

// Seek mark of a status that follows a completed seek.
inline constexpr std::uint64_t MM_MEDIASTREAMING_SEEK_MARK = 0xFFFFFFFFFFFFFFFFU;

// MM_MEDIASTREAMING_CMD_SOURCE_STATUS
struct tagMSSourceStatus {
  tagMSHead head;
  MM_MEDIASTREAMING_CHANNLE_TYPE eChannelType;
  MM_MEDIASTREAMING_SOURCE_STATUS eStatus;
  std::int64_t lPosition;    // milliseconds
  std::uint64_t dwSeekMark;  // MM_MEDIASTREAMING_SEEK_MARK or 0
};
MMP_RECORD(tagMSSourceStatus, 40);
MMP_FIELD(tagMSSourceStatus, head, 0, 16);
MMP_FIELD(tagMSSourceStatus, eChannelType, 16, 4);
MMP_FIELD(tagMSSourceStatus, eStatus, 20, 4);
MMP_FIELD(tagMSSourceStatus, lPosition, 24, 8);
MMP_FIELD(tagMSSourceStatus, dwSeekMark, 32, 8);

// MM_MEDIASTREAMING_CMD_MEDIA_FORMAT. The format record stays its sender's; the platform reads it
// during the call.
struct tagMSMediaFormat {
  tagMSHead head;
  MM_MEDIASTREAMING_MEDIATYPE eMediaType;
  std::uint32_t padding;
  void* pFormat;               // tMSAUDIOFORMATEX or tagMSVIDEOFORMATEX
  std::uint64_t dwFormatSize;  // 32 or 16
};
MMP_RECORD(tagMSMediaFormat, 40);
MMP_FIELD(tagMSMediaFormat, head, 0, 16);
MMP_FIELD(tagMSMediaFormat, eMediaType, 16, 4);
MMP_FIELD(tagMSMediaFormat, pFormat, 24, 8);
MMP_FIELD(tagMSMediaFormat, dwFormatSize, 32, 8);

// MM_MEDIASTREAMING_CMD_SET_RENDER
struct tagMSRenderInfo {
  tagMSHead head;
  MM_MEDIASTREAMING_CHANNLE_TYPE eChannelType;  // always listener
  MM_MEDIASTREAMING_RENDER_TYPE eRenderType;
  std::uint64_t hRender;  // render view handle; 0 with DETACH
  std::uint64_t reserved;
};
MMP_RECORD(tagMSRenderInfo, 40);
MMP_FIELD(tagMSRenderInfo, head, 0, 16);
MMP_FIELD(tagMSRenderInfo, eChannelType, 16, 4);
MMP_FIELD(tagMSRenderInfo, eRenderType, 20, 4);
MMP_FIELD(tagMSRenderInfo, hRender, 24, 8);
MMP_FIELD(tagMSRenderInfo, reserved, 32, 8);

// `nViewKind` of a render view handed over with an update.
inline constexpr std::int32_t MM_MEDIASTREAMING_VIEW_KIND = 2;

// What tagMSRenderUpdate::pUpdateParam points to.
struct tagMSRenderView {
  std::uint64_t hRenderView;
  std::int32_t nViewKind;
  std::uint32_t padding;
};
MMP_RECORD(tagMSRenderView, 16);
MMP_FIELD(tagMSRenderView, hRenderView, 0, 8);
MMP_FIELD(tagMSRenderView, nViewKind, 8, 4);

// `dwUpdateKind` of a render update that carries a view.
inline constexpr std::uint64_t MM_MEDIASTREAMING_UPDATE_VIEW = 4;

// MM_MEDIASTREAMING_CMD_UPDATE_RENDER
struct tagMSRenderUpdate {
  tagMSHead head;
  MM_MEDIASTREAMING_CHANNLE_TYPE eChannelType;  // always listener
  std::uint32_t padding;
  std::uint64_t hRender;
  std::uint64_t dwUpdateKind;
  void* pUpdateParam;  // tagMSRenderView, owned by the caller
  std::uint64_t reserved;
};
MMP_RECORD(tagMSRenderUpdate, 56);
MMP_FIELD(tagMSRenderUpdate, head, 0, 16);
MMP_FIELD(tagMSRenderUpdate, eChannelType, 16, 4);
MMP_FIELD(tagMSRenderUpdate, hRender, 24, 8);
MMP_FIELD(tagMSRenderUpdate, dwUpdateKind, 32, 8);
MMP_FIELD(tagMSRenderUpdate, pUpdateParam, 40, 8);
MMP_FIELD(tagMSRenderUpdate, reserved, 48, 8);

// MM_MEDIASTREAMING_CMD_VOLUME
struct tagMSVolumeInfo {
  tagMSHead head;
  MM_MEDIASTREAMING_CHANNLE_TYPE eChannelType;
  std::uint16_t wVolumeLevel;
  std::uint16_t padding;
};
MMP_RECORD(tagMSVolumeInfo, 24);
MMP_FIELD(tagMSVolumeInfo, head, 0, 16);
MMP_FIELD(tagMSVolumeInfo, eChannelType, 16, 4);
MMP_FIELD(tagMSVolumeInfo, wVolumeLevel, 20, 2);

// MM_MEDIASTREAMING_CMD_MUTE_STATUS
struct tagMSMuteInfo {
  tagMSHead head;
  MM_MEDIASTREAMING_CHANNLE_TYPE eChannelType;
  MM_MEDIASTREAMING_MUTESTATUS eMuteStatus;
};
MMP_RECORD(tagMSMuteInfo, 24);
MMP_FIELD(tagMSMuteInfo, head, 0, 16);
MMP_FIELD(tagMSMuteInfo, eChannelType, 16, 4);
MMP_FIELD(tagMSMuteInfo, eMuteStatus, 20, 4);

// MM_MEDIASTREAMING_CMD_QUERY. Owned by the asker, who zeroes it and presets the answer words; the
// platform writes its answer into it.
struct tagQuery {
  std::uint64_t sessionID;
  std::uint64_t dwStatus;   // answer word
  std::int32_t nQueryType;  // MM_MEDIASTREAMING_QUERY_TYPE
  std::uint32_t padding;
  std::uint64_t dwResult;         // answer word
  std::uint32_t dwChannelStatus;  // MM_MEDIA_STREAMING_CHANNEL_STATUS, answer to query 0
  std::uint8_t reserved[28];
};
MMP_RECORD(tagQuery, 64);
MMP_FIELD(tagQuery, sessionID, 0, 8);
MMP_FIELD(tagQuery, dwStatus, 8, 8);
MMP_FIELD(tagQuery, nQueryType, 16, 4);
MMP_FIELD(tagQuery, dwResult, 24, 8);
MMP_FIELD(tagQuery, dwChannelStatus, 32, 4);
MMP_FIELD(tagQuery, reserved, 36, 28);

// MM_MEDIASTREAMING_CMD_MEDIA_DATA: one media sample. Owned by the sender together with the bytes
// and the format that it points to; the platform is done with all of it when the call returns.
// [delivery-thread; a repeated still frame on main-thread]
struct tagMSDataStructure {
  std::uint64_t sessionID;
  std::uint64_t sourceID;
  std::uint64_t dwTimestamp;  // milliseconds of movie time
  std::uint8_t bReserved;     // 0: live sample; 1: stored copy of a still frame
  std::uint8_t padding0[7];
  void* pData;                 // video: rows of 3 bytes a pixel padded to 4; audio: 16-bit PCM
  std::uint64_t dwDataLength;  // bytes
  MM_MEDIASTREAMING_MEDIATYPE nMediaType;
  std::uint32_t padding1;
  void* pFormat;                 // tMSAUDIOFORMATEX, tagMSVIDEOFORMATEX or null
  std::uint64_t dwFormatLength;  // 32, 16 or 0
};
MMP_RECORD(tagMSDataStructure, 72);
MMP_FIELD(tagMSDataStructure, sessionID, 0, 8);
MMP_FIELD(tagMSDataStructure, sourceID, 8, 8);
MMP_FIELD(tagMSDataStructure, dwTimestamp, 16, 8);
MMP_FIELD(tagMSDataStructure, bReserved, 24, 1);
MMP_FIELD(tagMSDataStructure, pData, 32, 8);
MMP_FIELD(tagMSDataStructure, dwDataLength, 40, 8);
MMP_FIELD(tagMSDataStructure, nMediaType, 48, 4);
MMP_FIELD(tagMSDataStructure, pFormat, 56, 8);
MMP_FIELD(tagMSDataStructure, dwFormatLength, 64, 8);

struct tMSAUDIOFORMATEX {
  std::int32_t wFormatTag;  // 0
  std::uint16_t nChannels;
  std::uint16_t padding0;
  std::uint64_t nSamplesPerSec;   // Hz
  std::uint64_t nAvgBytesPerSec;  // bytes per second
  std::uint16_t nBlockAlign;      // bytes
  std::uint16_t wBitsPerSample;
  std::uint16_t cbSize;  // 32
  std::uint16_t padding1;
};
MMP_RECORD(tMSAUDIOFORMATEX, 32);
MMP_FIELD(tMSAUDIOFORMATEX, wFormatTag, 0, 4);
MMP_FIELD(tMSAUDIOFORMATEX, nChannels, 4, 2);
MMP_FIELD(tMSAUDIOFORMATEX, nSamplesPerSec, 8, 8);
MMP_FIELD(tMSAUDIOFORMATEX, nAvgBytesPerSec, 16, 8);
MMP_FIELD(tMSAUDIOFORMATEX, nBlockAlign, 24, 2);
MMP_FIELD(tMSAUDIOFORMATEX, wBitsPerSample, 26, 2);
MMP_FIELD(tMSAUDIOFORMATEX, cbSize, 28, 2);

struct tagMSVIDEOFORMATEX {
  std::int32_t wFormatTag;  // 0
  std::uint16_t wWidth;     // pixels
  std::uint16_t wHeight;    // pixels
  float wFrameRate;         // frames per second
  std::uint16_t cbSize;     // 0
  std::uint16_t padding;
};
MMP_RECORD(tagMSVIDEOFORMATEX, 16);
MMP_FIELD(tagMSVIDEOFORMATEX, wFormatTag, 0, 4);
MMP_FIELD(tagMSVIDEOFORMATEX, wWidth, 4, 2);
MMP_FIELD(tagMSVIDEOFORMATEX, wHeight, 6, 2);
MMP_FIELD(tagMSVIDEOFORMATEX, wFrameRate, 8, 4);
MMP_FIELD(tagMSVIDEOFORMATEX, cbSize, 12, 2);

#endif  // MMP_REQUESTRECORDS_H
