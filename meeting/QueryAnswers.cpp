#include "meeting/QueryAnswers.h"

namespace meeting {

UCFResult answerQuery(tagQuery& query, const DocumentStream& stream) {
  if (query.sessionID != stream.ids().session) return 0;
  switch (query.nQueryType) {
    case MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS:
      if (query.dwResult != stream.ids().source || !(stream.isOpen() || stream.hasFailed()))
        return 0;
      query.dwChannelStatus = stream.isOpen() ? MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM
                                              : MM_MEDIA_STREAMING_CHANNEL_STATUS_REGISTER_FAILED;
      return 1;
    case MM_MEDIASTREAMING_QUERY_SESSION_PROBE:
      // A presenter goes on to open its file when the probe is answered by 0 in both places.
      query.dwResult = 0;
      return 0;
    case MM_MEDIASTREAMING_QUERY_PLAY_ALLOWED:
      // Allowed: the words stay as the asker preset them.
      return 1;
    default:
      return 0;
  }
}

}  // namespace meeting
