#include "meeting/Action.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <sstream>
#include <vector>

#include "meeting/Suggestion.h"
#include "ucf/SessionMessages.h"

namespace meeting {

namespace {

enum class Actor : std::uint8_t { presenter, attendee, participant, meeting };

// How an action is written after its actor: a word, and what may stand behind its "=".
struct Form {
  const char* word;
  bool (*read)(std::string_view value, Action& action);  // null: nothing may
  Actor actor;
  Verb verb;
};

constexpr double kMostSeconds = 1e9;
constexpr double kFullVolume = 255;
constexpr double kMostDelay = 60'000;  // milliseconds
constexpr std::uint32_t kMostPixels = 8192;
constexpr unsigned kMostParticipants = 1000;

template <class Number>
std::optional<Number> number(std::string_view text) {
  Number value{};
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc{} || rest != end) return std::nullopt;
  return value;
}

bool readNumber(std::string_view value, double most, Action& action) {
  const auto read = number<double>(value);
  if (!read || !(*read >= 0 && *read <= most)) return false;
  action.number = *read;
  return true;
}

bool seconds(std::string_view value, Action& action) {
  return readNumber(value, kMostSeconds, action);
}

bool volume(std::string_view value, Action& action) {
  return readNumber(value, kFullVolume, action);
}

bool onOrOff(std::string_view value, Action& action) {
  action.number = value == "on" ? 1 : 0;
  return value == "on" || value == "off";
}

bool delay(std::string_view value, Action& action) { return readNumber(value, kMostDelay, action); }

bool pair(std::string_view value, char between, std::uint32_t& first, std::uint32_t& second) {
  const auto at = value.find(between);
  if (at == std::string_view::npos) return false;
  const auto left = number<std::uint32_t>(value.substr(0, at));
  const auto right = number<std::uint32_t>(value.substr(at + 1));
  if (!left || !right) return false;
  first = *left;
  second = *right;
  return true;
}

bool size(std::string_view value, Action& action) {
  const auto fits = [](std::uint32_t pixels) { return pixels > 0 && pixels <= kMostPixels; };
  return pair(value, 'x', action.width, action.height) && fits(action.width) && fits(action.height);
}

bool role(std::string_view value, Action& action) {
  return pair(value, ',', action.participant, action.bits) &&
         action.participant <= kMostParticipants;
}

bool session(std::string_view value, Action& action) {
  static constexpr std::pair<std::string_view, UCFSessionMessage> kMessages[] = {
      {"refuse", SESSION_MSG_JOIN_FAILED},
      {"leave", SESSION_MSG_LEFT},
      {"limit", SESSION_MSG_MAX_ATTENDEE_REACHED},
      {"bandwidth", SESSION_MSG_STOP_FOR_BANDWIDTH},
      {"play", SESSION_MSG_START_PLAY},
  };
  const auto* found = std::find_if(std::begin(kMessages), std::end(kMessages),
                                   [value](const auto& entry) { return entry.first == value; });
  if (found == std::end(kMessages)) return false;
  action.bits = static_cast<std::uint32_t>(found->second);
  return true;
}

bool channel(std::string_view value, Action& action) {
  if (value != "fail" && value != "reconnect") return false;
  action.verb = value == "fail" ? Verb::channelFail : Verb::channelReconnect;
  return true;
}

constexpr Form kForms[] = {
    {"play", nullptr, Actor::presenter, Verb::play},
    {"pause", nullptr, Actor::presenter, Verb::pause},
    {"stop", nullptr, Actor::presenter, Verb::stop},
    {"seek", seconds, Actor::presenter, Verb::seek},
    {"volume", volume, Actor::participant, Verb::volume},
    {"mute", nullptr, Actor::participant, Verb::mute},
    {"unmute", nullptr, Actor::participant, Verb::unmute},
    {"fullscreen", nullptr, Actor::participant, Verb::fullscreen},
    {"controls", onOrOff, Actor::participant, Verb::controls},
    {"activate", nullptr, Actor::participant, Verb::activate},
    {"deactivate", nullptr, Actor::participant, Verb::deactivate},
    {"resize", size, Actor::participant, Verb::resize},
    {"join", nullptr, Actor::attendee, Verb::join},
    {"leave", nullptr, Actor::attendee, Verb::leave},
    {"delay", delay, Actor::attendee, Verb::delay},
    {"role", role, Actor::meeting, Verb::role},
    {"presenter-crash", nullptr, Actor::meeting, Verb::crash},
    {"presenter-return", nullptr, Actor::meeting, Verb::comeBack},
    {"session", session, Actor::meeting, Verb::session},
    {"channel", channel, Actor::meeting, Verb::channelFail},
};

bool suits(Actor actor, bool attendee) {
  return attendee ? actor == Actor::attendee || actor == Actor::participant
                  : actor != Actor::attendee;
}

// The actor's number, counted from 1, when the word is "NAME=NUMBER".
std::optional<unsigned> ordinal(std::string_view word, std::string_view name) {
  if (word.substr(0, name.size()) != name) return std::nullopt;
  const auto value = number<unsigned>(word.substr(name.size()));
  return value && *value >= 1 && *value <= kMostParticipants ? value : std::nullopt;
}

std::optional<Action> parse(const std::vector<std::string>& words) {
  Action action;
  auto word = words.begin();
  if (word != words.end()) {
    if (const auto document = ordinal(*word, "document=")) {
      action.document = *document;
      ++word;
    }
  }
  bool attendee = false;
  if (word != words.end()) {
    if (const auto participant = ordinal(*word, "attendee=")) {
      action.participant = *participant;
      attendee = true;
      ++word;
    }
  }
  if (words.end() - word != 1) return std::nullopt;
  const std::string_view text = *word;
  const auto equals = text.find('=');
  const std::string_view name = text.substr(0, equals);
  const auto* form = std::find_if(std::begin(kForms), std::end(kForms),
                                  [name](const Form& entry) { return entry.word == name; });
  if (form == std::end(kForms) || !suits(form->actor, attendee)) return std::nullopt;
  action.verb = form->verb;
  if (form->read == nullptr) return equals == text.npos ? std::optional(action) : std::nullopt;
  if (equals == text.npos || !form->read(text.substr(equals + 1), action)) return std::nullopt;
  return action;
}

// What the words are nearly; nothing when each of them is one, and only used wrongly.
std::string meant(const std::vector<std::string>& words) {
  std::vector<std::string> known{"document", "attendee"};
  for (const Form& form : kForms) known.emplace_back(form.word);
  std::string text;
  bool changed = false;
  for (const std::string& word : words) {
    const std::string name = word.substr(0, word.find('='));
    const bool right = std::find(known.begin(), known.end(), name) != known.end();
    const std::string near = right ? name : nearest(name, known);
    if (near.empty()) return {};
    changed = changed || !right;
    text += (text.empty() ? "" : " ") + near + word.substr(name.size());
  }
  return changed ? suggested(text) : "";
}

}  // namespace

std::variant<Action, std::string> parseAction(std::string_view text) {
  std::istringstream stream{std::string(text)};
  const std::vector<std::string> words{std::istream_iterator<std::string>(stream), {}};
  if (const auto action = parse(words)) return *action;
  return "no such action: " + std::string(text) + meant(words);
}

}  // namespace meeting
