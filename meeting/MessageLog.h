// The messages that pass, in a file: none is left out, however late the file is written.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "meeting/MessageJournal.h"
#include "meeting/OutputFile.h"
#include "platform/Mutex.h"

namespace meeting {

class MessageLog final : public MessageListener {
 public:
  enum class Form : std::uint8_t {
    recording,  // as MessageRecording reads it, media data by size and hash
    json,       // decoded, as messageAsJson; without media data
  };

  MessageLog(std::string path, Form form);

  const std::string& path() const { return path_; }

  // A sample's data are hashed here. [any-thread]
  void onMessage(PassedMessage message) override EXCLUDES(mutex_);

  // Writes what has come since the last call. [main-thread]
  void write() EXCLUDES(mutex_);
  // Nothing may be written afterwards. 0 if everything has reached the file, or else the first
  // error, as in errno. [main-thread]
  int close();

 private:
  std::string asLine(const PassedMessage& message) const;

  const std::string path_;
  const Form form_;
  OutputFile file_;

  platform::Mutex mutex_;
  std::vector<PassedMessage> waiting_ GUARDED_BY(mutex_);
  std::uint64_t newest_ GUARDED_BY(mutex_) = 0;  // number of the last message
};

}  // namespace meeting
