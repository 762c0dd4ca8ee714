// The routed messages, media data apart, as lines of JSON in a file. [main-thread]
#pragma once

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>

#include "meeting/MessageJournal.h"

namespace meeting {

class MessageLog {
 public:
  // Null when the file cannot be written. The journal keeps messages from now on, and must outlive
  // the log.
  static std::unique_ptr<MessageLog> create(const std::string& path, MessageJournal& journal);

  // Writes what has come since the last call; often enough that the journal still has it all.
  void write();
  // Whether everything has reached the file; nothing may be written afterwards.
  bool close();

 private:
  MessageLog(std::ofstream file, MessageJournal& journal);

  std::ofstream file_;
  MessageJournal& journal_;
  std::uint64_t last_ = 0;
};

}  // namespace meeting
