#include "meeting/MessageText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string_view>
#include <variant>

#include "meeting/MessageValues.h"
#include "mmp/ParticipantRecords.h"

namespace meeting {

using nlohmann::ordered_json;

namespace {

// A module's name, or number, without what all of the names begin with.
std::string shortModule(std::uint32_t module) {
  constexpr std::string_view kPrefix = "MODULE_TYPE_";
  const std::string text = moduleText(module).text();
  return text.starts_with(kPrefix) ? text.substr(kPrefix.size()) : text;
}

std::string arrow(const PassedMessage& message) {
  const bool toHost = message.direction() == Direction::toHost;
  std::string arrow = toHost ? "->" : "<-";
  if (const auto& user = message.message.toUser)
    return arrow + (*user == SVS_USER_EVERYBODY ? "all" : "user " + std::to_string(*user));
  const auto& modules = message.message.modules;
  if (!modules) return arrow;
  const auto& [from, to] = *modules;
  return shortModule(toHost ? from : to) + arrow + shortModule(toHost ? to : from);
}

ordered_json plainJson(const Value& value) {
  return std::visit([](const auto& is) { return ordered_json(is); }, value.value);
}

ordered_json documentOf(const PassedMessage& message, ordered_json (*asJson)(const Value&)) {
  ordered_json document{{"number", message.number},
                        {"seconds", message.seconds},
                        {"participant", message.participant},
                        {"to", directionName(message.direction())}};
  if (const auto& modules = message.message.modules) {
    document["fromModule"] = asJson(moduleText(modules->from));
    document["toModule"] = asJson(moduleText(modules->to));
  }
  if (const auto& user = message.message.toUser) document["toUser"] = asJson(userText(*user));
  document.update({{"kind", kindName(message.kind())},
                   {"name", message.name()},
                   {"taken", message.taken},
                   {"fields", ordered_json::object()}});
  for (const auto& [name, value] : message.fields()) document["fields"][name] = asJson(value);
  return document;
}

}  // namespace

ordered_json messageAsJson(const PassedMessage& message) { return documentOf(message, plainJson); }

ordered_json messageAsReadableJson(const PassedMessage& message) {
  return documentOf(message, [](const Value& value) { return ordered_json(value.text()); });
}

std::string lineOf(const ordered_json& document) {
  return document.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

std::string messageAsText(const PassedMessage& message) {
  std::array<char, 128> head{};
  std::snprintf(head.data(), head.size(), "%6lu %9.3f  %-12s %-9s  ",
                static_cast<unsigned long>(message.number), message.seconds,
                message.participant.c_str(), arrow(message).c_str());
  std::string text = head.data();
  text += message.name();
  // The ids of the document are the same everywhere: they come last.
  Fields fields = message.fields();
  std::stable_partition(fields.begin(), fields.end(), [](const auto& field) {
    return field.first != "sessionID" && field.first != "sourceID";
  });
  const char* separator = "  ";
  for (const auto& [name, value] : fields) {
    text.append(separator).append(name).append("=").append(value.text());
    separator = ", ";
  }
  // No fault in itself: 0 is the right answer to a session probe.
  return message.taken ? text : text + "  (answered 0)";
}

}  // namespace meeting
