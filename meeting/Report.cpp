#include "meeting/Report.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "meeting/TimeText.h"

namespace meeting {

namespace {

using nlohmann::json;

// Milliseconds, to the microsecond.
json orNull(const std::optional<double>& value) {
  return value ? json(std::round(*value * 1000) / 1000) : json(nullptr);
}

json asJson(const Percentiles& percentiles) {
  return {{"p50", orNull(percentiles.p50)},
          {"p95", orNull(percentiles.p95)},
          {"p99", orNull(percentiles.p99)}};
}

json asJson(const std::optional<VideoFormat>& format) {
  if (!format) return nullptr;
  return {{"width", format->width}, {"height", format->height}, {"fps", format->fps}};
}

json asJson(const std::optional<AudioFormat>& format) {
  if (!format) return nullptr;
  return {{"channels", format->channels}, {"rate", format->rate}, {"bits", format->bits}};
}

json presenterAsJson(const DocumentReport& report, bool paced) {
  const SampleSummary& samples = report.samples;
  json presenter = {{"state", report.state},
                    {"failure", report.failure.empty() ? json() : json(report.failure)},
                    {"frames_sent", samples.frames},
                    {"audio_blocks_sent", samples.audioBlocks},
                    {"audio_bytes_sent", samples.audioBytes},
                    {"stills_sent", samples.stills},
                    {"malformed", samples.malformed},
                    {"video_format", asJson(report.video)},
                    {"audio_format", asJson(report.audio)},
                    {"duration_ms", report.durationMs},
                    {"position_ms", report.positionMs},
                    {"first_frame_ms", orNull(samples.firstFrameMs)},
                    {"dropped", report.dropped}};
  presenter["pacing_ms"] = asJson(paced ? samples.pacing : Percentiles{});
  presenter["av_skew_ms"] = asJson(paced ? samples.avSkew : Percentiles{});
  return presenter;
}

json documentAsJson(const DocumentReport& report, bool paced) {
  json attendees = json::array();
  for (const AttendeeReport& attendee : report.attendees) {
    attendees.push_back({{"name", attendee.name},
                         {"frames_received", attendee.statistics.framesReceived},
                         {"frames_lost", attendee.statistics.framesLost},
                         {"audio_blocks_received", attendee.statistics.audioBlocksReceived}});
  }
  return {{"file", report.file},
          {"presenter", presenterAsJson(report, paced)},
          {"attendees", std::move(attendees)}};
}

[[gnu::format(printf, 1, 2)]] std::string text(const char* format, ...) {
  char buffer[256];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(buffer, sizeof buffer, format, arguments);
  va_end(arguments);
  return length < 0 ? std::string() : std::string(buffer);
}

std::string percentilesText(const Percentiles& percentiles) {
  return text("p50 %.1f ms, p95 %.1f ms, p99 %.1f ms", percentiles.p50.value_or(0),
              percentiles.p95.value_or(0), percentiles.p99.value_or(0));
}

class Table {
 public:
  explicit Table(bool bold) : bold_(bold) {}
  void row(const std::string& label, const std::string& value) {
    text_ += (bold_ ? "\033[1m" : "") + label + (bold_ ? "\033[0m" : "");
    text_.append(label.size() < kColumn ? kColumn - label.size() : 1, ' ');
    text_ += value + '\n';
  }
  const std::string& str() const { return text_; }

 private:
  static constexpr std::size_t kColumn = 14;
  bool bold_;
  std::string text_;
};

void addMedia(Table& table, const DocumentReport& report, bool paced) {
  const SampleSummary& samples = report.samples;
  const auto number = [](std::uint64_t value) { return static_cast<unsigned long>(value); };
  if (report.video) {
    table.row("Video",
              text("%u x %u, %.5g fps: %lu frames, %lu still, %lu dropped", report.video->width,
                   report.video->height, static_cast<double>(report.video->fps),
                   number(samples.frames), number(samples.stills), number(report.dropped)));
  }
  if (report.audio) {
    table.row("Audio", text("%u channels, %lu Hz, %u bit: %lu blocks, %lu bytes",
                            report.audio->channels, number(report.audio->rate), report.audio->bits,
                            number(samples.audioBlocks), number(samples.audioBytes)));
  }
  if (samples.firstFrameMs)
    table.row("First sample", text("%.1f ms after play", *samples.firstFrameMs));
  if (paced && samples.pacing.p50) table.row("Pacing", percentilesText(samples.pacing));
  if (paced && samples.avSkew.p50) table.row("A/V skew", percentilesText(samples.avSkew));
}

void addDocument(Table& table, const DocumentReport& report, bool paced) {
  table.row("File", report.file);
  table.row("State", report.state + " at " + timeText(report.positionMs) + " of " +
                         timeText(report.durationMs));
  if (!report.failure.empty()) table.row("Failure", report.failure);
  addMedia(table, report, paced);
  for (const AttendeeReport& attendee : report.attendees) {
    table.row(attendee.name,
              text("%lu frames received, %lu lost, %lu audio blocks",
                   static_cast<unsigned long>(attendee.statistics.framesReceived),
                   static_cast<unsigned long>(attendee.statistics.framesLost),
                   static_cast<unsigned long>(attendee.statistics.audioBlocksReceived)));
  }
}

}  // namespace

std::string reportAsJson(const Report& report) {
  // The first document stands at the top, where programs that share one file look for it.
  json result = report.documents.empty() ? json::object()
                                         : documentAsJson(report.documents.front(), report.paced);
  for (std::size_t i = 1; i < report.documents.size(); ++i)
    result["further_documents"].push_back(documentAsJson(report.documents[i], report.paced));
  result["messages"] = report.messages;
  result["exit"] = report.exitStatus;
  // File names need not be UTF-8.
  return result.dump(2, ' ', false, json::error_handler_t::replace) + '\n';
}

std::string reportAsTable(const Report& report, bool bold) {
  Table table(bold);
  for (const DocumentReport& document : report.documents)
    addDocument(table, document, report.paced);
  return table.str();
}

}  // namespace meeting
