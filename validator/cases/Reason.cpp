#include "validator/cases/Reason.h"

#include <algorithm>
#include <optional>
#include <regex>
#include <utility>
#include <vector>

namespace validator {

namespace {

struct Meaning {
  const char* of;  // a regular expression
  const char* is;
};

// What the cases look at.
constexpr Meaning kSubjects[] = {
    {R"(host\.take\(|^items$|^told$|^kept$)", "what the host is asked and told"},
    {R"(asset->path\()", "the path of the file that the player view opens"},
    {R"(->asset\b)", "whether the player view has been given a file"},
    {R"(->superview\()", "the view that holds the player"},
    {R"(->frame\()", "the frame of the object's view"},
    {R"(isEmbed\()", "whether the player tells its view that it lies in the document"},
    {R"(allow2Play\()", "whether the player lets its view play"},
    {R"(allowEnterFIT\()", "whether the player lets its view fit the window"},
    {R"(->duration\()", "the duration that the player tells its view, in seconds"},
    {R"(->currentTime\()", "the position that the player tells its view, in seconds"},
    {R"(->fps\()", "the frame rate that the player tells its view"},
    {R"(->mediaSize\()", "the size of the pictures that the player tells its view"},
    {R"(->delegate == nullptr)", "whether the player has let go of its view"},
    {R"(->delegate$)", "the player that the view asks"},
    {R"(before == nullptr)", "whether the player view is still the one from before"},
    {R"(^view\(\)$|^first$)", "the player view"},
    {R"(crashSectionPath\()", "the file that is noted as being opened"},
    {R"(params\b)", "the parameters of the capture session"},
    {R"(streamListener\()", "the listener of the capture session"},
    {R"(FakeFramework::session)", "whether there is a capture session"},
    {R"(^met\.)", "whether the random runs have met the state"},
    {R"(^thrown$)", "the name of the exception that reaches the host"},
    {R"(^object$)", "the object, null once it has been released"},
    {R"(^moment$)", "how many calls of its host the object was released in"},
    {R"(takeCalls\()", "what the player view is told"},
    {R"(takeTraceLines\(|^lines$)", "what is logged"},
    {R"(shown\(|statusViewType\()", "the status that the player view shows"},
    {R"(variantsHeld)",
     "variants that the container has filled and that FreeVariant (slot 6) has not "
     "given back"},
    {R"(sent\()", "the samples routed to the host (RouteMessage, uMsg 2000)"},
    {R"(host\.samples)", "pictures and sound blocks routed to the host (RouteMessage, uMsg 2000)"},
    {R"(host\.afterTheEnd)", "calls of the host after the object's Release"},
    {R"(lParam)", "lParam of a RouteMessage to the platform"},
    {R"(reserved)", "the reserved words of a record"},
    {R"(query\.dwStatus)", "dwStatus that a tagQuery is preset with"},
    {R"(host\.elsewhere)", "calls of the host on other threads than the main one"},
    {R"(eChannelType)", "eChannelType of a record, the side of the stream that it comes from"},
    {R"(sessionID)", "sessionID of a record"},
    {R"(sourceID)", "sourceID of a record"},
    {R"(subviews\(\))", "the views that the object has put into its parent view"},
    {R"(GetUCFInterface\()", "the result of GetUCFInterface (slot 0)"},
    {R"((heard|questions)->names)", "the notifications that are posted"},
    {R"(allowEnterFIT\()", "whether the full-screen button has an effect"},
    {R"(CreateActiveUI\()", "the result of CreateActiveUI (slot 6)"},
    {R"(RouteMessage\()", "the result of RouteMessage"},
    {R"(createInstance\()", "the result of UCFCreateInstance"},
    {R"(initialize\()", "the result of UCFInitialize"},
    {R"(cleanup\()", "the result of UCFCleanup"},
    {R"(^out$|^static_cast<void\*>)", "the pointer that GetUCFInterface (slot 0) stores"},
    {R"(^notify\()", "the result of slot 32 of the object"},
    {R"(^call<|^size$)", "what a slot of the player answers"},
    {R"(deleteInstance\()", "the result of UCFDeleteInstance"},
    {R"(getInterfaceVersion\()", "what UCFGetInterfaceVersion answers"},
    {R"(constant)", "the text of an exported constant"},
};

// The words by which the recording host keeps what it is asked.
constexpr Meaning kWords[] = {
    {"item .*", "SetItemState (runtime, slot 37), item=state"},
    {"shared .*", "SetSharedProperty (container, slot 20): id, type, value"},
    {"property .*", "GetProperty (container, slot 11): id"},
    {"to all .*", "SendDataToAll (runtime, slot 2): bytes of the record"},
    {"to [0-9].*", "SendDataToUser (runtime, slot 3): user, bytes of the record"},
    {"publish .*", "SetParameterData (runtime, slot 12): id, bytes"},
    {"request .*", "RequestParameterData (runtime, slot 14): id"},
    {"ids .*", "RouteMessage to the conference: type"},
    {"session .*", "RouteMessage to the platform: type"},
    {"register .*", "RouteMessage uMsg 0, tagMSRegisterInfo: dwDuration, eMediaContent"},
    {"unregister", "RouteMessage uMsg 1, tagMSUnRegisterInfo"},
    {"status .*", "RouteMessage uMsg 2, tagMSSourceStatus: eStatus, lPosition"},
    {"format .*",
     "RouteMessage uMsg 3, tagMSMediaFormat: eMediaType, dwFormatSize bytes of pFormat"},
    {"render .*", "RouteMessage uMsg 4, tagMSRenderInfo: eRenderType, hRender"},
    {"update render .*",
     "RouteMessage uMsg 5, tagMSRenderUpdate: dwUpdateKind, nViewKind, hRender"},
    {"volume .*", "RouteMessage uMsg 7, tagMSVolumeInfo: wVolumeLevel"},
    {"query .*", "RouteMessage uMsg 9, tagQuery: nQueryType, dwResult"},
    {"sample .*",
     "RouteMessage uMsg 2000, tagMSDataStructure: nMediaType, dwTimestamp, bReserved, dwDataLength "
     "bytes of pData, dwFormatLength bytes of pFormat"},
    {"from .*", "RouteMessage from another module than MODULE_TYPE_SVS"},
    {"for .*", "RouteMessage to a module that is neither MODULE_TYPE_MMP nor MODULE_TYPE_CONF"},
};

std::string inOneLine(const std::string& text) {
  static const std::regex kBreaks(R"(\s*\n\s*)");
  static const std::regex kEnds(R"(^\s+|\s+$)");
  return std::regex_replace(std::regex_replace(text, kEnds, ""), kBreaks, " | ");
}

// What the host's word in front of a part stands for, in brackets; empty when there is none.
std::string meaningAt(const std::vector<std::string>& parts, std::size_t at) {
  if (at >= parts.size()) return {};
  for (const Meaning& word : kWords) {
    if (std::regex_match(parts[at], std::regex(word.of))) return std::string(" (") + word.is + ")";
  }
  return {};
}

// The word of the host's that an expression counts; empty if it counts none.
std::string countedIn(const std::string& expression) {
  std::smatch word;
  static const std::regex kCounted(R"re(^count\(.*, "([^"]*)"\))re");
  return std::regex_search(expression, word, kCounted) ? word[1].str() : "";
}

std::string subjectOf(const std::string& expression) {
  std::smatch slot;
  if (const std::string word = countedIn(expression); !word.empty())
    return "how often the host is told \"" + word + '"' + meaningAt({word}, 0);
  if (std::regex_search(expression, slot, std::regex(R"(^(told|call<.*>)\((\d+))"))) {
    const char* const what =
        slot[1] == "told" ? "what the player view is told by" : "the result of";
    return what + (" slot " + slot[2].str()) + " of the player";
  }
  if (std::regex_search(expression, slot, std::regex(R"(callSlot<.*>\((\w+)\S*, (\d+))"))) {
    const std::string of = slot[1] == "table" ? "object" : slot[1].str();
    return "the result of slot " + slot[2].str() + " of the " + of;
  }
  for (const Meaning& subject : kSubjects)
    if (std::regex_search(expression, std::regex(subject.of))) return subject.is;
  return expression;
}

std::vector<std::string> quotedParts(const std::string& text) {
  static const std::regex kQuoted(R"re("((?:[^"\\]|\\.)*)")re");
  std::vector<std::string> parts;
  for (std::sregex_iterator at(text.begin(), text.end(), kQuoted), end; at != end; ++at)
    parts.push_back((*at)[1]);
  return parts;
}

std::string partAt(const std::vector<std::string>& parts, std::size_t at) {
  return at < parts.size() ? '"' + parts[at] + '"' : "nothing more";
}

std::string firstDifference(const std::string& expected, const std::string& actual) {
  const auto wanted = quotedParts(expected);
  if (expected.starts_with("contains")) return meaningAt(wanted, 0);  // anywhere
  const auto came = quotedParts(actual);
  std::size_t at = 0;
  while (at < wanted.size() && at < came.size() && wanted[at] == came[at]) ++at;
  if (at >= wanted.size() && at >= came.size()) return {};
  const std::string asked = meaningAt(wanted, at);
  const std::string found = meaningAt(came, at);
  if (wanted.size() <= 1 && came.size() <= 1) return found.empty() ? asked : found;
  return "; first difference: expected " + partAt(wanted, at) + (asked == found ? "" : asked) +
         ", got " + partAt(came, at) + found;
}

// Of what is printed nowhere but byte by byte, its address at most.
std::string withoutBytes(const std::string& value) {
  static const std::regex kPointed(R"(\(ptr = (\w+), value = \d+-byte object <[^>]*>\))");
  static const std::regex kBytes(R"(\d+-byte object <[^>]*>)");
  return std::regex_replace(std::regex_replace(value, kPointed, "$1"), kBytes, "another value");
}

// A matcher's description, without what says that it is one.
std::string plain(const std::string& description) {
  static const std::regex kWrapping(
      R"(has \d+ elements? where\s*|has 1 element that |element #\d+ |is equal to )");
  static const std::regex kAnyOrder(
      R"(has \d+ elements and there exists some permutation of elements such that:\s*- )");
  static const std::regex kAnd(R"(, and\s+- )");
  static const std::regex kAmong("contains at least one element that ");
  static const std::regex kNone("^is empty$");
  static const std::regex kBreaks(R"(\s*\n\s*)");
  std::string text = std::regex_replace(withoutBytes(description), kWrapping, "");
  for (const auto& [what, by] : {std::pair{&kAnyOrder, "in any order "},
                                 {&kAnd, ", "},
                                 {&kAmong, "among others "},
                                 {&kNone, "nothing"},
                                 {&kBreaks, " "}})
    text = std::regex_replace(text, *what, by);
  return text;
}

struct Assertion {
  std::string subject;
  std::string expected;
  std::string actual;
  std::string message;
};

// "Value of: X", then "Expected: E" and "  Actual: A", or the other way round.
std::optional<Assertion> valueOf(const std::string& text) {
  static const std::regex kMatcher(
      "^Value of: ([^]*?)\nExpected: ([^]*?)\n  Actual: ([^\n]*)([^]*)");
  static const std::regex kCondition(
      "^Value of: ([^]*?)\n  Actual: ([^\n]*)\nExpected: ([^\n]*)([^]*)");
  std::smatch part;
  if (std::regex_match(text, part, kCondition))
    return Assertion{part[1], part[3], part[2], part[4]};
  if (std::regex_match(text, part, kMatcher)) return Assertion{part[1], part[2], part[3], part[4]};
  return {};
}

// The first of the two is what came, wherever the cases compare.
std::optional<Assertion> equality(const std::string& text) {
  static const std::regex kEquality(
      "^Expected equality of these values:\n  ([^\n]*)(?:\n    Which is: ([^\n]*))?"
      "\n  ([^\n]*)(?:\n    Which is: ([^\n]*))?([^]*)");
  std::smatch part;
  if (!std::regex_match(text, part, kEquality)) return {};
  return Assertion{part[1], part[4].matched ? part[4] : part[3],
                   part[2].matched ? part[2] : part[1], part[5]};
}

std::optional<Assertion> comparison(const std::string& text) {
  static const std::regex kComparison(
      R"(^Expected: \((.*?)\) (\S+) \((.*)\), actual: (.*) vs (.*?)(\n[^]*|$))");
  std::smatch part;
  if (!std::regex_match(text, part, kComparison)) return {};
  const std::string relation = part[2] == "!=" ? "other than " : part[2].str() + " ";
  return Assertion{part[1], relation + part[5].str(), part[4], part[6]};
}

std::string sentence(const Assertion& assertion) {
  const std::string note = inOneLine(assertion.message);
  return subjectOf(assertion.subject) + ": expected " + inOneLine(plain(assertion.expected)) +
         ", got " + withoutBytes(assertion.actual) +
         firstDifference(assertion.expected, assertion.actual) +
         (note.empty() ? "" : " (" + note + ")");
}

}  // namespace

std::string reasonOf(const std::string& message) {
  static const std::regex kTrace(R"(\n?Google Test trace:\n)");
  static const std::regex kFailed("^Failed\n");
  static const std::regex kPlace(R"((^|\n)[^\n:]*:\d+: )");
  std::smatch trace;
  std::string text = std::regex_replace(message, kFailed, "");
  std::string around;
  if (const std::string whole = text; std::regex_search(whole, trace, kTrace)) {
    text = trace.prefix();
    around = " (with " + inOneLine(std::regex_replace(trace.suffix().str(), kPlace, "$1")) + ")";
  }
  for (const auto parse : {valueOf, equality, comparison})
    if (const auto assertion = parse(text)) return sentence(*assertion) + around;
  static const std::regex kThrown(R"re(^C\+\+ exception with description "([^]*)" thrown in .*)re");
  return inOneLine(std::regex_replace(text, kThrown, "an exception reached the host: $1")) + around;
}

}  // namespace validator
