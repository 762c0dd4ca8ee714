#include "meeting/MessageDifference.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>

#include "meeting/MessageBytes.h"

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

std::string valueOf(const Fields& fields, std::string_view name) {
  for (const auto& [each, value] : fields)
    if (each == name) return value.text();
  return {};
}

bool isSample(const PassedMessage& message) { return message.kind() == MessageKind::sample; }

const char* mediumOf(std::string_view type) {
  return type == "MM_MEDIASTREAMING_MEDIATYPE_AUDIO" ? "sound" : "picture";
}

// Which of a participant's lanes a message belongs to: each sample has one of its own. Empty for a
// message that is not compared.
std::string laneOf(const PassedMessage& message, const Fields& fields) {
  const std::string_view name = message.name();
  if (contains(std::begin(kByTheClock), std::end(kByTheClock), name)) return {};
  const std::string type = valueOf(fields, isSample(message) ? "nMediaType" : "eMediaType");
  if (type.empty() && name != kWithPictures) return "message";
  const std::string medium = mediumOf(type);
  return medium + (isSample(message) ? " at " + valueOf(fields, "dwTimestamp") : " format");
}

// Left out: when it was, and whether a picture is shown once more.
bool isTime(std::string_view name, const Fields& fields) {
  if (name == "lPosition") return valueOf(fields, "dwSeekMark") != "MM_MEDIASTREAMING_SEEK_MARK";
  return name == "bReserved";
}

// What recordings of former programs do not say: between which modules messages were routed, and to
// whom commands were sent.
struct Told {
  bool modules = false;
  bool users = false;

  explicit Told(const std::vector<PassedMessage>& messages) {
    for (const PassedMessage& each : messages) {
      modules = modules || each.message.modules;
      users = users || each.message.toUser;
    }
  }
  Told operator&(const Told& other) const {
    Told both = *this;
    both.modules = modules && other.modules;
    both.users = users && other.users;
    return both;
  }
};

struct Entry {
  const PassedMessage* message;
  std::string said;   // what is compared of its head and fields
  std::string bytes;  // and of its bytes, which may say more

  bool operator==(const Entry& other) const { return said == other.said && bytes == other.bytes; }
};

// A lane's messages, and what is compared of them.
struct Lane {
  std::vector<Entry> messages;
  std::map<std::string, std::size_t> handles;  // in the order in which they appeared

  bool holdsSamples() const { return !messages.empty() && isSample(*messages.front().message); }
  void add(const PassedMessage& message, const Fields& fields, const Told& told) {
    std::string said = std::string(directionName(message.direction())) + ' ' + message.name() +
                       (message.taken ? "" : " not taken");
    if (const auto& modules = message.message.modules; modules && told.modules)
      said += ' ' + std::to_string(modules->from) + ' ' + std::to_string(modules->to);
    if (const auto& user = message.message.toUser; user && told.users)
      said += ' ' + std::to_string(*user);
    for (const auto& [name, value] : fields) {
      if (isTime(name, fields)) continue;
      const std::string text = value.text();
      const bool handle = text.starts_with("0x") && text != "0x0";
      const std::size_t known = handles.size();
      said += ' ' + name + '=' +
              (handle ? std::to_string(handles.emplace(text, known).first->second) : text);
    }
    messages.push_back({&message, std::move(said), comparableBytes(message)});
  }
};

// The samples of one medium.
struct Flow {
  std::size_t samples = 0;
  const PassedMessage* first = nullptr;

  void add(const PassedMessage& message) {
    if (samples++ == 0) first = &message;
  }
};

using Key = std::pair<std::string, std::string>;  // participant and name

struct Traffic {
  std::map<Key, Lane> lanes;
  std::map<Key, Flow> flows;

  Traffic(const std::vector<PassedMessage>& messages, const Told& told) {
    for (const PassedMessage& message : messages) {
      const Fields fields = message.fields();
      const std::string lane = laneOf(message, fields);
      if (!lane.empty()) lanes[{message.participant, lane}].add(message, fields, told);
      if (isSample(message))
        flows[{message.participant, mediumOf(valueOf(fields, "nMediaType"))}].add(message);
    }
  }
  // What only the other has is empty here; but a sample, which may have been dropped.
  void complete(const Traffic& other) {
    for (const auto& [key, lane] : other.lanes)
      if (!lane.holdsSamples()) lanes[key];
    for (const auto& [key, flow] : other.flows) flows[key];
  }
};

std::optional<MessageDifference> compareMessages(const Lane& one, const Lane& other) {
  const auto [a, b] = std::mismatch(one.messages.begin(), one.messages.end(),
                                    other.messages.begin(), other.messages.end());
  const bool ended = a == one.messages.end();
  const bool otherEnded = b == other.messages.end();
  if (ended && otherEnded) return std::nullopt;
  return MessageDifference{.participant = {},
                           .what = ' ' + std::to_string(a - one.messages.begin() + 1),
                           .one = ended ? nullptr : a->message,
                           .other = otherEnded ? nullptr : b->message,
                           .inBytes = !ended && !otherEnded && a->said == b->said};
}

// Sound need not be the same to the bit before and after a seek, and which of them there is may be
// a matter of time: one that both have is enough.
std::optional<MessageDifference> compareSamples(const Lane& one, const Lane& other) {
  const auto same = std::find_first_of(one.messages.begin(), one.messages.end(),
                                       other.messages.begin(), other.messages.end());
  if (same != one.messages.end()) return std::nullopt;
  const Entry& a = one.messages.front();
  const Entry& b = other.messages.front();
  return MessageDifference{.participant = {},
                           .what = {},
                           .one = a.message,
                           .other = b.message,
                           .inBytes = a.said == b.said};
}

std::optional<MessageDifference> compare(const Lane& one, const Lane& other) {
  return (one.holdsSamples() ? compareSamples : compareMessages)(one, other);
}

// A slow machine drops pictures, but does not lose nearly all of them.
std::optional<MessageDifference> compare(const Flow& one, const Flow& other) {
  constexpr std::size_t kFewer = 10;  // times
  const auto [least, most] = std::minmax(one.samples, other.samples);
  if (least * kFewer >= most) return std::nullopt;
  return MessageDifference{.participant = {},
                           .what = " samples, " + std::to_string(one.samples) + " and " +
                                   std::to_string(other.samples) + " of them",
                           .one = one.first,
                           .other = other.first,
                           .inBytes = false};
}

std::uint64_t numberOf(const MessageDifference& difference) {
  return (difference.one != nullptr ? difference.one : difference.other)->number;
}

// The earliest of the differences of what both have.
template <class Compared>
std::optional<MessageDifference> firstOf(const std::map<Key, Compared>& these,
                                         const std::map<Key, Compared>& others) {
  std::optional<MessageDifference> first;
  for (const auto& [key, one] : these) {
    const auto other = others.find(key);
    if (other == others.end()) continue;
    auto difference = compare(one, other->second);
    if (!difference || (first && numberOf(*first) <= numberOf(*difference))) continue;
    difference->participant = key.first;
    difference->what.insert(0, key.second);
    first = std::move(difference);
  }
  return first;
}

}  // namespace

std::optional<MessageDifference> firstDifference(const std::vector<PassedMessage>& one,
                                                 const std::vector<PassedMessage>& other) {
  const Told told = Told(one) & Told(other);
  Traffic these(one, told);
  Traffic others(other, told);
  these.complete(others);
  others.complete(these);
  // How many samples there were follows from the messages, as far as those differ.
  auto first = firstOf(these.lanes, others.lanes);
  return first ? first : firstOf(these.flows, others.flows);
}

}  // namespace meeting
