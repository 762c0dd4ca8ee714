// A router that keeps a copy of every message, and what is done from within one.
#pragma once

#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

#include "mmp/RequestRecords.h"
#include "ucf/IUCFMsgRouter.h"

struct Routed {
  enumMODULE_TYPE from;
  enumMODULE_TYPE to;
  unsigned long type;
  unsigned long uMsg;
  std::vector<unsigned char> record;
};

class RecordingRouter : public IUCFMsgRouter {
 public:
  virtual ~RecordingRouter() = default;
  static constexpr std::uint64_t kSessionID = 0x0102030405060708;
  static constexpr std::uint64_t kSourceID = 0x1112131415161718;

  UCFResult RouteMessage(enumMODULE_TYPE from, enumMODULE_TYPE to, unsigned long type,
                         unsigned long uMsg, void* wParam, void* lParam) override {
    if (to == MODULE_TYPE_CONF) {
      *static_cast<std::uint64_t*>(wParam) = kSessionID;
      *static_cast<std::uint64_t*>(lParam) = kSourceID;
    }
    Routed message{from, to, type, uMsg, {}};
    if (to == MODULE_TYPE_MMP && wParam) {
      const auto* const bytes = static_cast<const unsigned char*>(wParam);
      message.record.assign(bytes, bytes + recordBytes(uMsg));
    }
    {
      const std::scoped_lock lock(mutex_);
      messages_.push_back(message);
    }
    if (within) {
      within(message);
    }
    return answer;
  }

  std::vector<Routed> take() {
    const std::scoped_lock lock(mutex_);
    return std::exchange(messages_, {});
  }
  // The commands since the last take, oldest first.
  std::vector<unsigned long> takeCommands() {
    std::vector<unsigned long> commands;
    for (const Routed& message : take()) {
      commands.push_back(message.uMsg);
    }
    return commands;
  }

  UCFResult answer = 1;
  std::function<void(const Routed&)> within;

 private:
  static std::size_t recordBytes(unsigned long command) {
    static const std::map<unsigned long, std::size_t> bytes = {
        {MM_MEDIASTREAMING_CMD_REGISTER, 40},      {MM_MEDIASTREAMING_CMD_UNREGISTER, 24},
        {MM_MEDIASTREAMING_CMD_SOURCE_STATUS, 40}, {MM_MEDIASTREAMING_CMD_MEDIA_FORMAT, 40},
        {MM_MEDIASTREAMING_CMD_SET_RENDER, 40},    {MM_MEDIASTREAMING_CMD_UPDATE_RENDER, 56},
        {MM_MEDIASTREAMING_CMD_MUTE_STATUS, 24},   {MM_MEDIASTREAMING_CMD_VOLUME, 24},
        {MM_MEDIASTREAMING_CMD_QUERY, 64},         {MM_MEDIASTREAMING_CMD_MEDIA_DATA, 72}};
    return bytes.at(command);
  }

  std::mutex mutex_;
  std::vector<Routed> messages_;  // guarded by mutex_
};
