#include "meeting/MessageDifference.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>

namespace meeting {

namespace {

// Said at intervals, however often that is.
constexpr std::string_view kByTheClock[] = {"MM_MEDIASTREAMING_MSSTATUS_CURRENT_PLAY_POSITION",
                                            "MM_MEDIASTREAMING_MSSTATUS_VIDEOQUALITY_INDICATE"};
// Come with the first sample, on its thread.
constexpr std::string_view kWithPictures = "MM_MEDIASTREAMING_MSSTATUS_VIDEO_INFORMATION";

bool contains(const std::string_view* begin, const std::string_view* end, std::string_view word) {
  return std::find(begin, end, word) != end;
}

std::string_view valueOf(const Fields& fields, std::string_view name) {
  for (const auto& [each, value] : fields)
    if (each == name) return value;
  return {};
}

bool isSample(const PassedMessage& message) { return message.kind() == MessageKind::sample; }

// Which of a participant's lanes a message belongs to: each sample has one of its own. Empty for a
// message that is not compared.
std::string laneOf(const PassedMessage& message, const Fields& fields) {
  const std::string_view name = message.name();
  if (contains(std::begin(kByTheClock), std::end(kByTheClock), name)) return {};
  const std::string_view type = valueOf(fields, isSample(message) ? "nMediaType" : "eMediaType");
  if (type.empty() && name != kWithPictures) return "message ";
  const std::string medium = type == "MM_MEDIASTREAMING_MEDIATYPE_AUDIO" ? "sound " : "picture ";
  return medium +
         (isSample(message) ? "at " + std::string(valueOf(fields, "dwTimestamp")) : "format ");
}

// Left out: when it was, and whether a picture is shown once more.
bool isTime(std::string_view name, const Fields& fields) {
  if (name == "lPosition") return valueOf(fields, "dwSeekMark") != "MM_MEDIASTREAMING_SEEK_MARK";
  return name == "bReserved";
}

// A lane's messages, and what is compared of them.
struct Lane {
  using Entry = std::pair<const PassedMessage*, std::string>;
  std::vector<Entry> messages;
  std::map<std::string, std::size_t> handles;  // in the order in which they appeared

  void add(const PassedMessage& message, const Fields& fields, bool withModules) {
    std::string text = std::string(directionName(message.direction())) + ' ' + message.name() +
                       (message.taken ? "" : " not taken");
    if (const auto& modules = message.message.modules; modules && withModules)
      text += ' ' + std::to_string(modules->from) + ' ' + std::to_string(modules->to);
    for (const auto& [name, value] : fields) {
      if (isTime(name, fields)) continue;
      const bool handle = value.starts_with("0x") && value != "0x0";
      const std::size_t known = handles.size();
      text += ' ' + name + '=' +
              (handle ? std::to_string(handles.emplace(value, known).first->second) : value);
    }
    messages.emplace_back(&message, std::move(text));
  }
};

using Lanes = std::map<std::pair<std::string, std::string>, Lane>;  // by participant and name

Lanes lanesOf(const std::vector<PassedMessage>& messages, bool withModules) {
  Lanes lanes;
  for (const PassedMessage& message : messages) {
    const Fields fields = message.fields();
    const std::string lane = laneOf(message, fields);
    if (!lane.empty()) lanes[{message.participant, lane}].add(message, fields, withModules);
  }
  return lanes;
}

// Recordings of former programs do not say between which modules messages were routed.
bool haveModules(const std::vector<PassedMessage>& messages) {
  return std::any_of(messages.begin(), messages.end(),
                     [](const PassedMessage& message) { return message.message.modules; });
}

bool holdsSamples(const Lane& lane) {
  return !lane.messages.empty() && isSample(*lane.messages.front().first);
}

// A lane that only one of two meetings has is empty in the other, but for a sample.
void complete(Lanes& lanes, const Lanes& others) {
  for (const auto& [key, lane] : others)
    if (!holdsSamples(lane)) lanes[key];
}

bool sameText(const Lane::Entry& one, const Lane::Entry& other) {
  return one.second == other.second;
}

std::optional<MessageDifference> compare(const Lane& one, const Lane& other) {
  const auto [a, b] = std::mismatch(one.messages.begin(), one.messages.end(),
                                    other.messages.begin(), other.messages.end(), sameText);
  if (a == one.messages.end() && b == other.messages.end()) return std::nullopt;
  return MessageDifference{.participant = {},
                           .what = std::to_string(a - one.messages.begin() + 1),
                           .one = a == one.messages.end() ? nullptr : a->first,
                           .other = b == other.messages.end() ? nullptr : b->first};
}

// Sound need not be the same to the bit before and after a seek, and which of them there is may be
// a matter of time: one that both have is enough.
std::optional<MessageDifference> compareSamples(const Lane& one, const Lane& other) {
  const auto same = std::find_first_of(one.messages.begin(), one.messages.end(),
                                       other.messages.begin(), other.messages.end(), sameText);
  if (same != one.messages.end()) return std::nullopt;
  return MessageDifference{.participant = {},
                           .what = {},
                           .one = one.messages.front().first,
                           .other = other.messages.front().first};
}

const PassedMessage& messageOf(const MessageDifference& difference) {
  return difference.one != nullptr ? *difference.one : *difference.other;
}

}  // namespace

std::optional<MessageDifference> firstDifference(const std::vector<PassedMessage>& one,
                                                 const std::vector<PassedMessage>& other) {
  const bool withModules = haveModules(one) && haveModules(other);
  Lanes lanes = lanesOf(one, withModules);
  Lanes others = lanesOf(other, withModules);
  complete(lanes, others);
  complete(others, lanes);
  std::optional<MessageDifference> first;
  for (const auto& [key, lane] : lanes) {
    const auto found = others.find(key);
    if (found == others.end()) continue;
    auto difference = (holdsSamples(lane) ? compareSamples : compare)(lane, found->second);
    if (!difference || (first && messageOf(*first).number <= messageOf(*difference).number))
      continue;
    difference->participant = key.first;
    difference->what.insert(0, key.second);
    first = std::move(difference);
  }
  return first;
}

}  // namespace meeting
