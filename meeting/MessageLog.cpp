#include "meeting/MessageLog.h"

#include <nlohmann/json.hpp>
#include <utility>

namespace meeting {

namespace {

constexpr std::size_t kBatch = 256;

std::string asLine(const JournalEntry& entry) {
  nlohmann::ordered_json line{{"number", entry.number},
                              {"seconds", entry.seconds},
                              {"participant", entry.participant},
                              {"to", entry.direction == Direction::toHost ? "host" : "object"},
                              {"kind", kindName(entry.kind)},
                              {"name", entry.name},
                              {"taken", entry.taken},
                              {"fields", nlohmann::ordered_json::object()}};
  for (const auto& [name, value] : entry.fields) line["fields"][name] = value;
  return line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace

std::unique_ptr<MessageLog> MessageLog::create(const std::string& path, MessageJournal& journal) {
  std::ofstream file(path, std::ios::trunc);
  if (!file) return nullptr;
  journal.setKept(MessageJournal::Keep::allButSamples);
  return std::unique_ptr<MessageLog>(new MessageLog(std::move(file), journal));
}

MessageLog::MessageLog(std::ofstream file, MessageJournal& journal)
    : file_(std::move(file)), journal_(journal) {}

void MessageLog::write() {
  for (auto batch = journal_.since(last_, kBatch); !batch.empty();
       batch = journal_.since(last_, kBatch)) {
    for (const JournalEntry& entry : batch)
      if (entry.kind != MessageKind::sample) file_ << asLine(entry) << '\n';
    last_ = batch.back().number;
  }
}

bool MessageLog::close() {
  write();
  file_.close();
  return file_.good();
}

}  // namespace meeting
