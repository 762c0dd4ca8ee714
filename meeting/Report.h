// What a meeting leaves behind: a JSON file for programs, a table for people.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "meeting/MultimediaPlatform.h"
#include "meeting/SampleStatistics.h"

namespace meeting {

struct AttendeeReport {
  std::string name;
  AttendeeStatistics statistics;
};

struct DocumentReport {
  std::string file;
  std::string state = "none";  // of the presenter's stream
  std::string failure;         // why the movie ended before its end
  SampleSummary samples;
  std::optional<VideoFormat> video;
  std::optional<AudioFormat> audio;
  std::uint64_t durationMs = 0;
  std::uint64_t positionMs = 0;
  std::uint64_t dropped = 0;  // pictures that the player passed over
  std::vector<AttendeeReport> attendees;
};

struct Report {
  std::vector<DocumentReport> documents;
  bool paced = true;  // timing means something only then
  std::map<std::string, std::uint64_t> messages;
  int exitStatus = 0;
};

// Figures that are not known are null.
std::string reportAsJson(const Report& report);
std::string reportAsTable(const Report& report, bool bold);

}  // namespace meeting
