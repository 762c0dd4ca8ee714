// Records that the instances of one document exchange through the host's container runtime.
// Little-endian, natural alignment.
#ifndef MMP_PARTICIPANTRECORDS_H
#define MMP_PARTICIPANTRECORDS_H

#include "mmp/Enumerations.h"
#include "mmp/Layout.h"

// Parameter data ids of a document.
inline constexpr std::uint32_t STM_PARAMETER_MEDIA_INFO = 0;  // tagStmMediaInfo, from the presenter
inline constexpr std::uint32_t STM_PARAMETER_PROVIDER_CRASHED = 1;  // no data that is read

// Parameter data STM_PARAMETER_MEDIA_INFO
struct tagStmMediaInfo {
  std::int32_t nDurationMs;
  MM_MEDIASTREAMING_MEDIACONTENENT nMediaContent;
  std::uint32_t nMediaType;  // media type of the attendees' player
};
MMP_RECORD(tagStmMediaInfo, 12);
MMP_FIELD(tagStmMediaInfo, nDurationMs, 0, 4);
MMP_FIELD(tagStmMediaInfo, nMediaContent, 4, 4);
MMP_FIELD(tagStmMediaInfo, nMediaType, 8, 4);

enum SVS_COMMAND : std::int32_t {
  SVS_QUERY_JOINSEESION_FAILED_CMD = 2,  // payload: the sender's 8-byte identity
  SVS_JOINSESSION_FAILED_CMD = 3,        // no payload
};

// User id that addresses everybody.
inline constexpr std::uint32_t SVS_USER_EVERYBODY = 0xFFFFFFFFU;

// Header of a participant command; the payload follows directly.
struct tagStmCommand {
  std::uint32_t dwLength;  // bytes, header included
  std::int32_t dwCommand;  // SVS_COMMAND
};
MMP_RECORD(tagStmCommand, 8);
MMP_FIELD(tagStmCommand, dwLength, 0, 4);
MMP_FIELD(tagStmCommand, dwCommand, 4, 4);

// Shared property ids under which an object's player state survives a deactivation.
enum STM_KEY : std::uint32_t {
  STM_KEY_STATUS = 0x420,
  STM_KEY_FULLSCREEN = 0x421,
  STM_KEY_CUR_POS = 0x422,
  STM_KEY_VOLUME = 0x426,
  STM_KEY_MUTE = 0x427,
};

#endif  // MMP_PARTICIPANTRECORDS_H
