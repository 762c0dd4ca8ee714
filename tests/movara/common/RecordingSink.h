// An application that answers as it is told and keeps what the bridge says.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

#include "mmp/RequestRecords.h"
#include "movara/common/ISVSPlayerNotifySink.h"
#include "movara/player/KTAVPlayer.h"
#include "platform/RunLoop.h"

struct SentSample {
  tagMSDataStructure record;
  tagMSVIDEOFORMATEX video;  // what record.pFormat pointed at, by media type
  tMSAUDIOFORMATEX audio;
  std::vector<std::uint8_t> bytes;
  bool onMainThread;
};

class RecordingSink final : public ISVSPlayerNotifySink {
 public:
  std::atomic<CAVPlayer*> player{nullptr};
  std::map<PLAYER_NOTIFY_CODE, std::int32_t> answers;  // 0 unless set
  bool playAllowed = true;
  // Runs inside the call, before it is recorded. On delivery threads as well.
  std::function<void(PLAYER_NOTIFY_CODE)> inside;

  std::int32_t OnNotify(PLAYER_NOTIFY_CODE code, unsigned long p1, unsigned long p2) override {
    if (code == PLAYER_NOTIFY_GET_PLAYER) {
      *reinterpret_cast<CAVPlayer**>(p1) = player;
      return 0;
    }
    if (inside) inside(code);
    if (code == PLAYER_NOTIFY_QUERY_PLAY_ALLOWED) {
      *reinterpret_cast<std::int32_t*>(p1) = playAllowed ? 1 : 0;
    }
    const std::lock_guard guard(lock_);
    EXPECT_EQ(p2, 0U);
    codes_.push_back(code);
    arguments_.push_back(p1);
    if (code == PLAYER_NOTIFY_MEDIA_SAMPLE) keep(*reinterpret_cast<tagMSDataStructure*>(p1));
    if (code == PLAYER_NOTIFY_VIDEO_FORMAT) {
      videoFormats.push_back(*reinterpret_cast<tagMSVIDEOFORMATEX*>(p1));
    }
    if (code == PLAYER_NOTIFY_AUDIO_FORMAT) {
      audioFormats.push_back(*reinterpret_cast<tMSAUDIOFORMATEX*>(p1));
    }
    const auto answer = answers.find(code);
    return answer != answers.end() ? answer->second : 0;
  }

  // Codes other than the player query, since the last call.
  std::vector<PLAYER_NOTIFY_CODE> takeCodes() {
    const std::lock_guard guard(lock_);
    arguments_.clear();
    return std::exchange(codes_, {});
  }
  unsigned long lastArgument() const { return arguments_.back(); }

  std::vector<SentSample> samples;
  std::vector<tagMSVIDEOFORMATEX> videoFormats;
  std::vector<tMSAUDIOFORMATEX> audioFormats;

 private:
  void keep(tagMSDataStructure& record) {
    SentSample sample{record, {}, {}, {}, platform::isMainThread()};
    if (record.pFormat != nullptr) {
      if (record.nMediaType == MM_MEDIASTREAMING_MEDIATYPE_VIDEO) {
        sample.video = *static_cast<tagMSVIDEOFORMATEX*>(record.pFormat);
      } else {
        sample.audio = *static_cast<tMSAUDIOFORMATEX*>(record.pFormat);
      }
    }
    const auto* first = static_cast<const std::uint8_t*>(record.pData);
    if (first != nullptr) sample.bytes.assign(first, first + record.dwDataLength);
    samples.push_back(sample);
    record.sessionID = 11;  // as the sender of the request does
    record.sourceID = 22;
  }

  std::mutex lock_;
  std::vector<PLAYER_NOTIFY_CODE> codes_;
  std::vector<unsigned long> arguments_;
};
