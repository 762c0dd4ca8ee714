// Enumerations shared with the multimedia platform. All are 32 bits wide in the records.
#ifndef MMP_ENUMERATIONS_H
#define MMP_ENUMERATIONS_H

#include <cstdint>

// `type` of a message routed to the platform or the conference.
enum SVS_MSG_TYPE : unsigned long {
  SVS_MSG_MS_COMMAND = 0,           // uMsg: MM_MEDIASTREAMING_COMMAND, wParam: its record
  SVS_MSG_GET_IDS = 100,            // to the conference: fill the 64-bit session id at wParam
                                    // and the 64-bit source id at lParam
  SVS_MSG_START_SESSION = 101,      // no record
  SVS_MSG_STOP_SESSION = 102,       // no record
  SVS_MSG_GET_IDS_EMBED = 107,      // as SVS_MSG_GET_IDS, from an object in embed mode
  SVS_MSG_STOP_ADVANCE_PAGE = 110,  // no record
};

enum MM_MEDIASTREAMING_COMMAND : std::int32_t {
  MM_MEDIASTREAMING_CMD_REGISTER = 0,       // tagMSRegisterInfo
  MM_MEDIASTREAMING_CMD_UNREGISTER = 1,     // tagMSUnRegisterInfo
  MM_MEDIASTREAMING_CMD_SOURCE_STATUS = 2,  // tagMSSourceStatus
  MM_MEDIASTREAMING_CMD_MEDIA_FORMAT = 3,   // tagMSMediaFormat
  MM_MEDIASTREAMING_CMD_SET_RENDER = 4,     // tagMSRenderInfo
  MM_MEDIASTREAMING_CMD_UPDATE_RENDER = 5,  // tagMSRenderUpdate
  MM_MEDIASTREAMING_CMD_MUTE_STATUS = 6,    // tagMSMuteInfo
  MM_MEDIASTREAMING_CMD_VOLUME = 7,         // tagMSVolumeInfo
  MM_MEDIASTREAMING_CMD_QUERY = 9,          // tagQuery
  MM_MEDIASTREAMING_CMD_MEDIA_DATA = 2000,  // tagMSDataStructure
};

enum MM_MEDIASTREAMING_CHANNLE_TYPE : std::uint32_t {
  MM_MEDIASTREAMING_CHANNEL_SOURCE = 0,    // presenter
  MM_MEDIASTREAMING_CHANNEL_LISTENER = 1,  // attendee
};

enum MM_MEDIASTREAMING_SOURCE_STATUS : std::uint32_t {
  MM_MEDIASTREAMING_PLAY = 0,
  MM_MEDIASTREAMING_STOP = 1,
  MM_MEDIASTREAMING_PAUSE = 2,
  MM_MEDIASTREAMING_PD_ACTIVE = 3,    // the sharing window is active
  MM_MEDIASTREAMING_PD_INACTIVE = 4,  // it is not
};

enum MM_MEDIASTREAMING_MEDIATYPE : std::uint32_t {
  MM_MEDIASTREAMING_MEDIATYPE_AUDIO = 0,
  MM_MEDIASTREAMING_MEDIATYPE_VIDEO = 1,
  MM_MEDIASTREAMING_MEDIATYPE_NONE = 0xFFFFFFFFU,  // a still-frame copy that holds no frame
};

enum MM_MEDIASTREAMING_RENDER_TYPE : std::uint32_t {
  MM_MEDIASTREAMING_RENDER_DETACH = 128,  // withdraw the render view; sent with handle 0
  MM_MEDIASTREAMING_RENDER_ATTACH = 130,  // hand over the listener's render view
};

// What the media holds, as the player reports it; 0 means nothing playable.
enum MM_MEDIASTREAMING_MEDIACONTENENT : std::uint32_t {
  MM_MEDIASTREAMING_MEDIACONTENT_NONE = 0,
  MM_MEDIASTREAMING_MEDIACONTENT_AUDIO = 1,
  MM_MEDIASTREAMING_MEDIACONTENT_VIDEO = 2,
  MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO = 3,
};

// Passed through unchanged; its values are the platform's.
enum MM_MEDIASTREAMING_MUTESTATUS : std::uint32_t {};

// `nQueryType` of a tagQuery.
enum MM_MEDIASTREAMING_QUERY_TYPE : std::int32_t {
  MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS = 0,    // of the source id in dwResult
  MM_MEDIASTREAMING_QUERY_SESSION_PROBE = 1,     // is the session there? 0 if so, returned as well
  MM_MEDIASTREAMING_QUERY_PLAY_ALLOWED = 10000,  // forbidden by clearing dwStatus and dwResult
};

// `uMsg` of family ROUTE_TYPE_MEDIASTREAMING, from the platform to an object.
enum MM_MEDIASTREAMING_MSSTATUS : unsigned long {
  MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE = 0,  // tagMSVideoQuality
  MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION = 2,  // tagMSPlayPosition
  MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_STATUS = 3,    // tagMSPlayStatus
  MM_MEDIASTREAMING_MSSTATUS_CHANNEL_STATUS = 4,         // tagMSChannelStatus
  MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION = 5,      // tagMSVideoInfo
};

enum MM_MEDIA_STREAMING_CHANNEL_STATUS : std::uint32_t {
  MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM = 0,
  MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS = 2,
  MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED = 3,
};

enum MM_MEDIA_STREAMING_PLAYSTATUS : std::uint32_t {
  MM_MEDIA_STREAMING_PLYASTATUS_PLAYING = 0,
  MM_MEDIA_STREAMING_PLYASTATUS_PAUSE = 1,
  MM_MEDIA_STREAMING_PLYASTATUS_REBUFFER = 2,
  MM_MEDIA_STREAMING_PLYASTATUS_STOP = 3,
  MM_MEDIA_STREAMING_PLYASTATUS_PROVIDER_CRASH = 4,
  SVS_REST_MOVIE_INVALID = 5,
};

// `dwInfoKind` of a tagMSVideoInfo.
enum MM_MEDIASTREAMING_VIDEO_INFO_KIND : std::uint32_t {
  MM_MEDIASTREAMING_VIDEO_INFO_SIZE = 0,
};

#endif  // MMP_ENUMERATIONS_H
