#include "meeting/QueryAnswers.h"

#include "meeting/Conference.h"

namespace meeting {

UCFResult answerQuery(tagQuery& query, const DocumentStream& stream) {
  switch (query.nQueryType) {
    case MM_MEDIASTREAMING_QUERY_CHANNEL_STATUS:
      if (query.dwResult != Conference::kSourceId || !stream.isOpen()) return 0;
      query.dwChannelStatus = MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM;
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
