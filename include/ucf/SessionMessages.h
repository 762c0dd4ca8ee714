// Session messages: `uMsg` of family ROUTE_TYPE_SESSION, from the host to an object.
#ifndef UCF_SESSIONMESSAGES_H
#define UCF_SESSIONMESSAGES_H

#include <cstdint>

enum UCFSessionMessage : unsigned long {
  SESSION_MSG_JOIN_CONFIRM = 0,            // no payload
  SESSION_MSG_JOIN_FAILED = 1,             // wParam: null or pointer to a signed 32-bit code
  SESSION_MSG_LEFT = 3,                    // no payload
  SESSION_MSG_MAX_ATTENDEE_REACHED = 100,  // no payload
  SESSION_MSG_STOP_FOR_BANDWIDTH = 101,    // no payload
  SESSION_MSG_START_PLAY = 102,            // no payload
};

// Failure code of SESSION_MSG_JOIN_FAILED: the attendee limit was reached.
inline constexpr std::int32_t SESSION_ERR_MAX_LIMIT = 0xFE02;

#endif  // UCF_SESSIONMESSAGES_H
