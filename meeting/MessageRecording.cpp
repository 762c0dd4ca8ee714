#include "meeting/MessageRecording.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <nlohmann/json.hpp>
#include <span>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include "meeting/MediaFile.h"
#include "meeting/MessageText.h"
#include "meeting/MessageValues.h"

namespace meeting {

namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr int kVersion = 1;
constexpr std::size_t kLongestLine = 4096;  // ours have a few hundred characters
constexpr std::size_t kHashDigits = 32;
constexpr std::string_view kDigits = "0123456789abcdef";

// Says what is wrong with a line.
class Damage : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

const json& at(const json& line, const char* key) {
  const auto found = line.find(key);
  if (found == line.end()) throw Damage(std::string("has no \"") + key + '"');
  return *found;
}

std::uint64_t countAt(const json& line, const char* key, std::uint64_t most) {
  const json& value = at(line, key);
  if (!value.is_number_unsigned() || value.get<std::uint64_t>() > most)
    throw Damage(std::string("\"") + key + "\" is no number that it may be");
  return value.get<std::uint64_t>();
}

// A text of at most `most` characters, all of them among the visible ones of ASCII.
std::string textAt(const json& line, const char* key, std::size_t most) {
  const json& value = at(line, key);
  std::string text = value.is_string() ? value.get<std::string>() : "";
  const bool visible =
      std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c <= '~'; });
  if (!value.is_string() || !visible || text.size() > most)
    throw Damage(std::string("\"") + key + "\" is no text that it may be");
  return text;
}

template <class Value, std::size_t size>
Value choiceAt(const json& line, const char* key, const std::array<Value, size>& values,
               const char* (*nameOf)(Value)) {
  const std::string text = textAt(line, key, kLongestLine);
  const auto found = std::find_if(values.begin(), values.end(),
                                  [&](Value value) { return text == nameOf(value); });
  if (found == values.end()) throw Damage(std::string("\"") + key + "\" is none of its words");
  return *found;
}

std::string digitsAt(const json& line, const char* key, std::size_t most) {
  std::string text = textAt(line, key, most);
  if (text.size() % 2 != 0 || text.find_first_not_of(kDigits) != text.npos)
    throw Damage(std::string("\"") + key + "\" is not hexadecimal");
  return text;
}

template <std::size_t size>
std::uint8_t bytesAt(const json& line, const char* key, std::array<std::byte, size>& bytes) {
  const std::string text = digitsAt(line, key, 2 * size);
  for (std::size_t i = 0; i < text.size(); i += 2)
    bytes[i / 2] = static_cast<std::byte>(kDigits.find(text[i]) << 4U | kDigits.find(text[i + 1]));
  return static_cast<std::uint8_t>(text.size() / 2);
}

RawMessage rawMessage(const json& line) {
  constexpr std::array kWays{MessageWay::routed, MessageWay::command, MessageWay::parameterData};
  constexpr std::array kDirections{Direction::toHost, Direction::toObject};
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
  RawMessage raw;
  raw.key = {.way = choiceAt(line, "way", kWays, wayName),
             .direction = choiceAt(line, "to", kDirections, directionName),
             .type = countAt(line, "type", kMost),
             .uMsg = countAt(line, "uMsg", kMost)};
  if (line.contains("fromModule"))
    raw.modules = {.from = static_cast<std::uint32_t>(countAt(line, "fromModule", kMost)),
                   .to = static_cast<std::uint32_t>(countAt(line, "toModule", kMost))};
  if (line.contains("toUser"))
    raw.toUser = static_cast<std::uint32_t>(countAt(line, "toUser", kMost));
  raw.length = static_cast<std::uint32_t>(countAt(line, "length", kMost));
  raw.recordBytes = bytesAt(line, "record", raw.record);
  raw.extraBytes = bytesAt(line, "pointed", raw.extra);
  return raw;
}

PassedMessage messageOf(const json& line, std::uint64_t number) {
  if (countAt(line, "number", number) != number) throw Damage("is not the next message");
  const json& seconds = at(line, "seconds");
  const json& taken = at(line, "taken");
  if (!seconds.is_number() || !taken.is_boolean())
    throw Damage(R"("seconds" or "taken" is not what it may be)");
  PassedMessage message{.number = number,
                        .seconds = seconds.get<double>(),
                        .participant = textAt(line, "participant", 64),
                        .taken = taken.get<bool>(),
                        .message = rawMessage(line),
                        .hash = {}};
  if (line.contains("hash")) message.hash = digitsAt(line, "hash", kHashDigits);
  return message;
}

json documentOf(const std::string& line) {
  json document = json::parse(line, nullptr, false);
  if (!document.is_object()) throw Damage("is no JSON object");
  return document;
}

// The lines of a file, none longer than may be.
class Lines {
 public:
  explicit Lines(std::ifstream& file) : file_(file) {}
  // The next one; nothing at the end.
  std::optional<std::string> next() {
    std::array<char, kLongestLine> line{};
    ++number_;
    file_.getline(line.data(), line.size());
    if (file_.eof() && file_.gcount() == 0) return std::nullopt;
    if (file_.fail()) throw Damage("is longer than a message");
    return line.data();
  }
  // Whether the last one lacks its line end, as when its writer was killed.
  bool areCutOff() const { return file_.eof(); }
  std::uint64_t number() const { return number_; }

 private:
  std::ifstream& file_;
  std::uint64_t number_ = 0;
};

void readHead(Lines& lines) {
  const json head = documentOf(lines.next().value_or(""));
  const std::uint64_t version = countAt(head, "movara-recording", 1'000'000);
  if (version != kVersion)
    throw Damage("version " + std::to_string(version) + ", and not " + std::to_string(kVersion));
}

void readMessages(Lines& lines, const std::function<bool(PassedMessage)>& take) {
  std::uint64_t number = 0;
  for (auto text = lines.next(); text && !lines.areCutOff(); text = lines.next()) {
    const json line = documentOf(*text);
    if (line.contains("end")) {
      if (countAt(line, "end", number) != number) throw Damage("counts other messages");
      if (lines.next()) throw Damage("comes after the end");
      return;
    }
    if (!take(messageOf(line, ++number))) return;
  }
  throw Damage("is missing: the meeting did not end in order");
}

Failure wrongFile(const std::string& line) { return {ExitStatus::wrongFile, line}; }

}  // namespace

std::string recordingHead() {
  return lineOf({{"movara-recording", kVersion}, {"program", MOVARA_VERSION}});
}

std::string recordingLine(const PassedMessage& message) {
  const RawMessage& raw = message.message;
  ordered_json line{{"number", message.number},
                    {"seconds", message.seconds},
                    {"participant", message.participant},
                    {"way", wayName(raw.key.way)},
                    {"to", directionName(raw.key.direction)},
                    {"type", raw.key.type},
                    {"uMsg", raw.key.uMsg},
                    {"taken", message.taken},
                    {"length", raw.length},
                    {"record", hexadecimal(raw.recordCopy())},
                    {"pointed", hexadecimal(raw.extraCopy())}};
  if (raw.modules) {
    line["fromModule"] = raw.modules->from;
    line["toModule"] = raw.modules->to;
  }
  if (raw.toUser) line["toUser"] = *raw.toUser;
  if (!message.hash.empty()) line["hash"] = message.hash;
  return lineOf(line);
}

std::string recordingEnd(std::uint64_t messages) { return lineOf({{"end", messages}}); }

std::optional<Failure> readRecording(const std::string& path,
                                     const std::function<bool(PassedMessage)>& take) {
  std::ifstream file(path);
  if (!file) return cannotRead(path, errno);
  std::error_code unknown;
  if (std::filesystem::is_directory(path, unknown)) return cannotRead(path, EISDIR);  // it opens
  Lines lines(file);
  try {
    readHead(lines);
  } catch (const Damage& damage) {
    return wrongFile("not a recording: " + path + " (its first line " + damage.what() + ")");
  }
  try {
    readMessages(lines, take);
    return std::nullopt;
  } catch (const Damage& damage) {
    return wrongFile("damaged recording: " + path + ": line " + std::to_string(lines.number()) +
                     ' ' + damage.what());
  }
}

}  // namespace meeting
