#include "meeting/room/RoomText.h"

#include <algorithm>
#include <array>
#include <limits>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "meeting/MessageText.h"

namespace meeting {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;

Payload dumped(const ordered_json& document) {
  return std::make_shared<const std::string>(lineOf(document));
}

ordered_json asJson(const ParticipantStatus& status) {
  return {{"id", status.id},
          {"actor", status.actor},
          {"file", status.file},
          {"presenter", status.presenter},
          {"present", status.present},
          {"state", status.state},
          {"statusView", status.statusView},
          {"position", status.position},
          {"duration", status.duration},
          {"fps", status.fps},
          {"frames", status.frames},
          {"dropped", status.dropped},
          {"volume", status.volume},
          {"muted", status.muted},
          {"width", status.width},
          {"height", status.height}};
}

// A message of the type, with a document for each of the values.
template <class T>
Payload listText(const char* type, const char* key, const std::vector<T>& values,
                 ordered_json (*asDocument)(const T&)) {
  ordered_json list = ordered_json::array();
  for (const T& value : values) list.push_back(asDocument(value));
  return dumped({{"type", type}, {key, std::move(list)}});
}

std::string binaryHead(char kind, const std::string& id) {
  const std::size_t length =
      std::min<std::size_t>(id.size(), std::numeric_limits<unsigned char>::max());
  return std::string{kind, static_cast<char>(length)} + id.substr(0, length);
}

void addLittleEndian(std::string& data, std::uint64_t value, int bytes) {
  for (int i = 0; i < bytes; ++i) data += static_cast<char>(value >> (8 * i) & 0xFFU);
}

// ---- requests

std::optional<std::string> stringAt(const json& document, const char* key) {
  const auto found = document.find(key);
  if (found == document.end() || !found->is_string()) return std::nullopt;
  return found->get<std::string>();
}

std::optional<RoomRequest> parseAct(const json& document) {
  const auto action = document.find("action");
  auto text = stringAt(document, "text");
  if (action == document.end() || !action->is_number_integer() || !text) return std::nullopt;
  return ActRequest{action->get<std::int64_t>(), *std::move(text)};
}

std::optional<RoomRequest> parseWatch(const json& document) {
  const auto views = document.find("views");
  if (views == document.end() || !views->is_array()) return std::nullopt;
  WatchRequest request;
  for (const json& view : *views) {
    if (!view.is_string()) return std::nullopt;
    request.views.insert(view.get<std::string>());
  }
  return request;
}

std::optional<RoomRequest> parseDrawn(const json& document) {
  auto view = stringAt(document, "view");
  if (!view) return std::nullopt;
  return DrawnRequest{*std::move(view)};
}

std::optional<RoomRequest> parseRead(const json& document) {
  const auto number = document.find("number");
  if (number == document.end() || !number->is_number_unsigned()) return std::nullopt;
  return ReadRequest{number->get<std::uint64_t>()};
}

std::optional<RoomRequest> parseSamples(const json& document) {
  const auto wanted = document.find("wanted");
  if (wanted == document.end() || !wanted->is_boolean()) return std::nullopt;
  return SamplesRequest{wanted->get<bool>()};
}

std::optional<RoomRequest> parseListen(const json& document) {
  const auto participant = document.find("participant");
  if (participant == document.end()) return std::nullopt;
  if (participant->is_null()) return ListenRequest{};
  if (!participant->is_string()) return std::nullopt;
  return ListenRequest{participant->get<std::string>()};
}

struct Parser {
  std::string_view type;
  std::optional<RoomRequest> (*parse)(const json& document);
};
constexpr std::array<Parser, 6> kParsers = {{{"act", parseAct},
                                             {"watch", parseWatch},
                                             {"drawn", parseDrawn},
                                             {"read", parseRead},
                                             {"samples", parseSamples},
                                             {"listen", parseListen}}};

}  // namespace

Payload statusText(const std::vector<ParticipantStatus>& participants) {
  return listText("status", "participants", participants, asJson);
}

Payload messagesText(const std::vector<PassedMessage>& messages) {
  return listText("messages", "entries", messages, messageAsReadableJson);
}

Payload answerText(std::int64_t action, const std::optional<std::string>& error) {
  return dumped(
      {{"type", "answer"}, {"action", action}, {"error", error ? json(*error) : json(nullptr)}});
}

Payload pictureData(const std::string& view, const std::vector<unsigned char>& jpeg) {
  std::string data = binaryHead('P', view);
  data.append(jpeg.begin(), jpeg.end());
  return std::make_shared<const std::string>(std::move(data));
}

Payload soundData(const std::string& participant, const AudioFormat& format,
                  const AudioSample& sample) {
  std::string data = binaryHead('S', participant);
  addLittleEndian(data, format.rate, 4);
  addLittleEndian(data, format.channels, 2);
  data.append(sample.data, sample.data + sample.bytes);
  return std::make_shared<const std::string>(std::move(data));
}

std::optional<RoomRequest> parseRequest(const std::string& text) {
  const json document = json::parse(text, nullptr, false);
  if (!document.is_object()) return std::nullopt;
  const auto type = stringAt(document, "type");
  const auto* parser = std::find_if(kParsers.begin(), kParsers.end(),
                                    [&](const Parser& each) { return each.type == type; });
  if (!type || parser == kParsers.end()) return std::nullopt;
  return parser->parse(document);
}

}  // namespace meeting
