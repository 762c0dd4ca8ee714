#include "meeting/room/MessageFeed.h"

#include <algorithm>
#include <utility>

namespace meeting {

namespace {
// Some tens of kilobytes.
constexpr std::size_t kMaxBatch = 250;
}  // namespace

MessageFeed::MessageFeed(MessageJournal& journal, Send send)
    : journal_(journal), send_(std::move(send)) {
  keepWhatIsWanted();
}

void MessageFeed::remove(VisitorId visitor) {
  readers_.erase(visitor);
  keepWhatIsWanted();
}

void MessageFeed::read(VisitorId visitor, std::uint64_t number) {
  const auto reader = readers_.find(visitor);
  if (reader == readers_.end()) return;
  reader->second.read = number;
  sendTo(visitor, reader->second);
}

void MessageFeed::setSamples(VisitorId visitor, bool wanted) {
  const auto reader = readers_.find(visitor);
  if (reader == readers_.end()) return;
  reader->second.samples = wanted;
  keepWhatIsWanted();
}

void MessageFeed::update() {
  for (auto& [visitor, reader] : readers_) sendTo(visitor, reader);
}

// One batch at a time is on its way, so that nothing piles up for a slow visitor: what the journal
// lets go meanwhile, that visitor misses.
void MessageFeed::sendTo(VisitorId visitor, Reader& reader) {
  if (reader.read < reader.sent) return;
  auto entries = journal_.since(reader.seen, kMaxBatch);
  if (entries.empty()) return;
  reader.seen = entries.back().number;
  if (!reader.samples)
    std::erase_if(entries,
                  [](const PassedMessage& entry) { return entry.kind() == MessageKind::sample; });
  if (entries.empty()) return;
  reader.sent = entries.back().number;
  send_(visitor, messagesText(entries));
}

void MessageFeed::keepWhatIsWanted() {
  const bool samples = std::any_of(readers_.begin(), readers_.end(),
                                   [](const auto& entry) { return entry.second.samples; });
  journal_.setKept(samples ? MessageJournal::Keep::everything
                           : MessageJournal::Keep::allButSamples);
}

}  // namespace meeting
