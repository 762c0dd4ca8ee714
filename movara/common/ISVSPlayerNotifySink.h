// What the player's side reports to the application object, and asks of it.
#pragma once

#include <cstdint>

// `p1` of each code; the second argument is always 0.
enum PLAYER_NOTIFY_CODE : std::uint32_t {
  PLAYER_NOTIFY_OPEN_RESULT = 1,          // 0 or a failure code, sign-extended
  PLAYER_NOTIFY_STATUS_CHANGED = 4,       // 0
  PLAYER_NOTIFY_AUDIO_FORMAT = 5,         // tMSAUDIOFORMATEX*
  PLAYER_NOTIFY_VIDEO_FORMAT = 6,         // tagMSVIDEOFORMATEX*
  PLAYER_NOTIFY_MEDIA_SAMPLE = 7,         // tagMSDataStructure*            [also delivery-thread]
  PLAYER_NOTIFY_MEDIA_OPENED = 8,         // 0
  PLAYER_NOTIFY_SEEK_COMPLETE = 9,        // 0
  PLAYER_NOTIFY_VOLUME_CHANGED = 10,      // 0
  PLAYER_NOTIFY_FULLSCREEN_CHANGED = 11,  // 0
  PLAYER_NOTIFY_GET_PLAYER = 12,          // CAVPlayer** to fill            [also delivery-thread]
  PLAYER_NOTIFY_VIDEO_SIZE = 13,          // const platform::Dictionary*, may be null
  PLAYER_NOTIFY_TIMER = 14,               // 0
  PLAYER_NOTIFY_QUERY_PLAY_ALLOWED = 15,  // std::int32_t* to fill
};

// Answer to a code that was not acted on.
inline constexpr std::int32_t kPlayerNotifyNotHandled = -1;

class ISVSPlayerNotifySink {
 public:
  // Answers 0 for done, kPlayerNotifyNotHandled, or, to an open result, the result.
  // [main-thread unless the code says otherwise]
  virtual std::int32_t OnNotify(PLAYER_NOTIFY_CODE code, unsigned long p1, unsigned long p2) = 0;

 protected:
  ~ISVSPlayerNotifySink() = default;
};
