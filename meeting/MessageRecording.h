// A meeting's whole traffic in a file: a line of JSON for each message, with the bytes of its
// record, between a first and a last line. docs/recordings.md describes it. [any-thread]
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "meeting/ExitStatus.h"
#include "meeting/PassedMessage.h"

namespace meeting {

// The lines, without line ends.
std::string recordingHead();
std::string recordingLine(const PassedMessage& message);
std::string recordingEnd(std::uint64_t messages);

// Gives the messages in their order to `take` until it answers false. Believes nothing: the failure
// says what stands in the way, and in which line; it comes after the messages before it.
std::optional<Failure> readRecording(const std::string& path,
                                     const std::function<bool(PassedMessage)>& take);

}  // namespace meeting
