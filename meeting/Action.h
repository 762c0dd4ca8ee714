// What can be done in a meeting at a time of one's choice, and the words for it: the language of
// scenarios and of the room.
//
//   [document=N] play | pause | stop | seek=SECONDS | volume=0..255 | mute | unmute | fullscreen |
//                 controls=on|off
//   [document=N] attendee=N join | leave | volume=0..255 | mute | unmute | fullscreen |
//                           controls=on|off | activate | deactivate | resize=WxH |
//                           delay=MILLISECONDS
//   [document=N] session=refuse | leave | limit | bandwidth | play
//   [document=N] channel=fail | reconnect
//   [document=N] presenter-crash | presenter-return
//   [document=N] role=PARTICIPANT,BITS
//
// A participant's number is 0 for the presenter; attendees and documents are counted from 1.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace meeting {

enum class Verb : std::uint8_t {
  // A participant's user.
  play,
  pause,
  stop,
  seek,    // number: seconds
  volume,  // number: 0 to 255
  mute,
  unmute,
  fullscreen,
  controls,  // number: 1 shows the view's control bar, 0 hides it
  // What a client does with a participant's object.
  join,
  leave,
  activate,
  deactivate,
  resize,  // width, height
  delay,   // number: milliseconds that each picture takes
  role,    // bits
  crash,
  comeBack,
  session,  // bits: the UCFSessionMessage that everybody gets
  // The platform's channel.
  channelFail,
  channelReconnect,
};

struct Action {
  Verb verb{};
  unsigned document = 1;
  unsigned participant = 0;
  double number = 0;
  std::uint32_t bits = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

// The action that the text says, or what is wrong with it.
std::variant<Action, std::string> parseAction(std::string_view text);

}  // namespace meeting
