#include "meeting/ExitStatus.h"

namespace meeting {

std::span<const ExitStatusText> exitStatusTexts() {
  static constexpr ExitStatusText kTexts[] = {
      {"0", "done: shared to the end or for the --duration asked for, or the answer is yes"},
      {"1", "the answer is no: two recordings differ, or a case did not pass"},
      {"2", "wrong usage"},
      {"3", "a file does not exist or cannot be read"},
      {"4", "a file is not a media file, or not a recording"},
      {"5", "the plug-in is missing, is not one, or did not start to play"},
      {"6", "the session was refused"},
      {"7", "the room's port is taken, or its address is not this machine's"},
      {"8", "output could not be written, or something else that no other status stands for"},
      {"9", "a part of this installation is missing or does not run"},
      {"129, 130, 143",
       "ended by a hang-up, an interrupt or a termination request, everything released"},
      {"141", "whoever reads standard output had enough, as head has after some lines"},
  };
  return kTexts;
}

}  // namespace meeting
