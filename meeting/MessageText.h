// How a message is shown: to people as a line of text, to programs as JSON. [any-thread]
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "meeting/PassedMessage.h"

namespace meeting {

// number, seconds, participant, to ("host" or "object"), of a routed message fromModule and
// toModule, of a command that is sent toUser, kind, name, taken, fields. Figures are numbers, in
// the units of their records; what has a name is a text.
nlohmann::ordered_json messageAsJson(const PassedMessage& message);
// The same with each value as people read it: with its unit.
nlohmann::ordered_json messageAsReadableJson(const PassedMessage& message);
// The document on one line; what is not UTF-8 is replaced.
std::string lineOf(const nlohmann::ordered_json& document);

// "  12    0.503  presenter    SVS->MMP   NAME  field=value, field=value", the arrow from or to the
// object, whose module stands in front of it; behind that of a command, whom it is sent to: "all"
// or "user 2".
std::string messageAsText(const PassedMessage& message);

}  // namespace meeting
