#include "meeting/MessageLog.h"

extern "C" {
#include <libavutil/hash.h>
}

#include <nlohmann/json.hpp>
#include <span>
#include <utility>

#include "meeting/MessageRecording.h"
#include "meeting/MessageText.h"

namespace meeting {

namespace {

// Fast enough for every picture of a movie; it tells data apart, and protects nothing.
constexpr const char* kHash = "murmur3";

std::string hashOf(std::span<const std::byte> data) {
  AVHashContext* hash = nullptr;
  if (av_hash_alloc(&hash, kHash) < 0) return {};
  av_hash_init(hash);
  av_hash_update(hash, reinterpret_cast<const std::uint8_t*>(data.data()), data.size());
  std::uint8_t text[2 * AV_HASH_MAX_SIZE + 1];
  av_hash_final_hex(hash, text, sizeof text);
  av_hash_freep(&hash);
  return reinterpret_cast<const char*>(text);
}

}  // namespace

MessageLog::MessageLog(std::string path, Form form)
    : path_(std::move(path)), form_(form), file_(path_) {
  if (form == Form::recording) file_ << recordingHead() << '\n';
}

void MessageLog::onMessage(PassedMessage message) {
  if (message.kind() == MessageKind::sample) {
    if (form_ == Form::json) return;
    // The length of one that was refused may be anything.
    if (message.taken) message.hash = hashOf(sampleData(message.message));
  }
  const platform::Lock lock(mutex_);
  message.number = ++newest_;
  waiting_.push_back(std::move(message));
}

void MessageLog::write() {
  std::vector<PassedMessage> messages;
  {
    const platform::Lock lock(mutex_);
    messages.swap(waiting_);
  }
  for (const PassedMessage& message : messages) file_ << asLine(message) << '\n';
}

int MessageLog::close() {
  write();
  {
    const platform::Lock lock(mutex_);
    if (form_ == Form::recording) file_ << recordingEnd(newest_) << '\n';
  }
  return file_.finish();
}

std::string MessageLog::asLine(const PassedMessage& message) const {
  return form_ == Form::recording ? recordingLine(message) : lineOf(messageAsJson(message));
}

}  // namespace meeting
