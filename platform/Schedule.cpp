#include "platform/Schedule.h"

#include <algorithm>

namespace platform {

void Schedule::add(const Entry& entry) {
  entry->sequence = nextSequence_++;
  for (const std::string& mode : entry->modes) {
    lines_[mode].emplace(std::pair(entry->deadline, entry->sequence), entry);
  }
  if (entry->kind == ScheduledMessage::Kind::kDelayed) {
    delayed_.emplace(std::pair(entry->target.get(), entry->sequence), entry);
  }
}

void Schedule::addMode(const Entry& entry, Mode mode) {
  if (std::find(entry->modes.begin(), entry->modes.end(), mode) != entry->modes.end()) return;
  entry->modes.emplace_back(mode);
  if (entry->sequence == 0) return;
  lines_[entry->modes.back()].emplace(std::pair(entry->deadline, entry->sequence), entry);
}

void Schedule::remove(const Entry& entry) {
  if (entry->sequence == 0) return;
  for (const std::string& mode : entry->modes) {
    lines_[mode].erase(std::pair(entry->deadline, entry->sequence));
  }
  delayed_.erase(std::pair(entry->target.get(), entry->sequence));
  entry->sequence = 0;
}

std::vector<Schedule::Entry> Schedule::takeAll() {
  std::vector<Entry> all;
  for (const auto& [mode, line] : lines_) {
    for (const auto& [key, entry] : line) all.push_back(entry);
  }
  for (const Entry& entry : all) remove(entry);
  return all;
}

Schedule::Entry Schedule::takeDue(Mode mode, TimePoint now, std::uint64_t limit) {
  const auto line = lines_.find(mode);
  if (line == lines_.end() || line->second.empty()) return nullptr;
  const auto& [key, first] = *line->second.begin();
  if (key.first > now || key.second >= limit) return nullptr;
  Entry entry = first;
  remove(entry);
  return entry;
}

TimePoint Schedule::nextDeadline(Mode mode) const {
  const auto line = lines_.find(mode);
  if (line == lines_.end() || line->second.empty()) return TimePoint::max();
  return line->second.begin()->first.first;
}

}  // namespace platform
