#include "platform/Schedule.h"

#include <algorithm>

namespace platform {

void Schedule::add(const Entry& entry) {
  entry->sequence = nextSequence_++;
  try {
    entry->places.reserve(entry->modes.size());
    for (const std::string& mode : entry->modes) insert(entry, mode);
    if (entry->kind == ScheduledMessage::Kind::kDelayed) {
      delayed_.emplace(std::pair(entry->target.get(), entry->sequence), entry);
    }
  } catch (...) {
    remove(entry);  // all of it or nothing
    throw;
  }
}

void Schedule::insert(const Entry& entry, const std::string& mode) {
  const std::pair key(entry->deadline, entry->sequence);
  ScheduleLine& line = lines_[mode];
  if (entry->places.empty()) {
    line.emplace(key, entry);
    return;
  }
  ScheduleLine::node_type place = std::move(entry->places.back());
  entry->places.pop_back();
  place.key() = key;
  place.mapped() = entry;
  line.insert(std::move(place));
}

void Schedule::addMode(const Entry& entry, Mode mode) {
  if (std::find(entry->modes.begin(), entry->modes.end(), mode) != entry->modes.end()) return;
  entry->modes.emplace_back(mode);
  if (entry->sequence == 0) return;
  entry->places.reserve(entry->modes.size());
  insert(entry, entry->modes.back());
}

void Schedule::remove(const Entry& entry) {
  if (entry->sequence == 0) return;
  const std::pair key(entry->deadline, entry->sequence);
  for (const std::string& mode : entry->modes) {
    const auto line = lines_.find(mode);
    if (line == lines_.end()) continue;
    if (entry->repeats() && entry->valid) {
      if (auto place = line->second.extract(key)) {
        place.mapped() = nullptr;  // it would keep itself
        entry->places.push_back(std::move(place));
      }
    } else {
      line->second.erase(key);
    }
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
