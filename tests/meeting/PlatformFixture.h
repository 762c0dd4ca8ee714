// The in-process platform between a presenter and attendees that are played by the test, on a clock
// that the test steps.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "meeting/InProcessPlatform.h"
#include "meeting/PictureScaler.h"
#include "mmp/RequestRecords.h"
#include "platform/RunLoop.h"
#include "platform/View.h"

namespace meeting {

using Texts = std::vector<std::string>;

inline constexpr DocumentIds kIds{1001, 7};
inline constexpr tagMSHead kHead{kIds.session, kIds.source};

// Keeps what it is told as text.
struct Peer final : PlatformPeer {
  void postStatus(const StatusRecord& record) override { received.push_back(describe(record)); }

  static std::string describe(const StatusRecord& record) {
    if (const auto* channel = std::get_if<tagMSChannelStatus>(&record))
      return "channel " + std::to_string(channel->dwStatus);
    if (const auto* play = std::get_if<tagMSPlayStatus>(&record))
      return "play " + std::to_string(play->dwPlayStatus);
    if (const auto* position = std::get_if<tagMSPlayPosition>(&record))
      return "position " + std::to_string(position->dwPosition);
    if (const auto* size = std::get_if<tagMSVideoInfo>(&record))
      return "size " + std::to_string(size->wWidth) + "x" + std::to_string(size->wHeight);
    return "fps " + std::to_string(std::lround(std::get<tagMSVideoQuality>(record).fFps));
  }
  Texts take() { return std::exchange(received, {}); }

  Texts received;
};

struct Observer final : StreamObserver {
  void onRegistered(std::uint64_t durationMs, MM_MEDIASTREAMING_MEDIACONTENENT) override {
    ++registered;
    duration = durationMs;
  }
  void onJoined() override { ++joined; }
  void onSourceStatus(MM_MEDIASTREAMING_SOURCE_STATUS, std::int64_t) override {}
  void onVideoFormat(const VideoFormat&) override {}
  void onAudioFormat(const AudioFormat&) override {}
  void onPictureWanted() override { ++wanted; }
  void onVideo(const VideoSample&) override { ++pictures; }
  void onAudio(const AudioSample&) override { ++blocks; }
  void onMalformed() override { ++malformed; }
  std::uint64_t duration = 0;
  int registered = 0, joined = 0, wanted = 0, pictures = 0, blocks = 0, malformed = 0;
};

// A picture or, by its kind, a block of sound on its way, with everything that it points to.
struct Sample {
  tagMSVIDEOFORMATEX video{0, 0, 0, 25.0F, 0, 0};
  std::vector<std::uint8_t> bytes;
  tagMSDataStructure record{};

  explicit Sample(std::uint64_t timestamp = 0, std::uint16_t width = 5, std::uint16_t height = 3) {
    video.wWidth = width;
    video.wHeight = height;
    bytes.assign(std::size_t{rowBytes()} * height, static_cast<std::uint8_t>(timestamp));
    record.sessionID = kIds.session;
    record.sourceID = kIds.source;
    record.dwTimestamp = timestamp;
    record.pData = bytes.data();
    record.dwDataLength = bytes.size();
    record.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_VIDEO;
    record.pFormat = &video;
    record.dwFormatLength = sizeof video;
  }
  std::uint32_t rowBytes() const { return (3U * video.wWidth + 3U) & ~3U; }
};

// An attendee, its end of the stream and the view that it watches.
struct Seat {
  explicit Seat(InProcessPlatform& platform) : port(platform.attachAttendee(peer)) {}
  std::shared_ptr<Peer> peer = std::make_shared<Peer>();
  std::shared_ptr<platform::View> view =
      std::make_shared<platform::View>(platform::Rect{{0, 0}, {5, 3}});
  std::unique_ptr<AttendeePort> port;
};

class PlatformFixture : public testing::Test {
 protected:
  PlatformFixture() { platform::RunLoop::main().setClock(clock_); }
  ~PlatformFixture() override { platform::RunLoop::main().setClock(nullptr); }

  static UCFResult send(PlatformPort& port, MM_MEDIASTREAMING_COMMAND command, void* record) {
    return port.request(SVS_MSG_MS_COMMAND, static_cast<unsigned long>(command), record);
  }
  static UCFResult registerAs(PlatformPort& port, MM_MEDIASTREAMING_CHANNLE_TYPE type) {
    tagMSRegisterInfo info{kHead, type, 0, 9000, MM_MEDIASTREAMING_MEDIACONTENT_VIDEO, 0};
    return send(port, MM_MEDIASTREAMING_CMD_REGISTER, &info);
  }
  static UCFResult unregister(PlatformPort& port, MM_MEDIASTREAMING_CHANNLE_TYPE type) {
    tagMSUnRegisterInfo info{kHead, type, 0};
    return send(port, MM_MEDIASTREAMING_CMD_UNREGISTER, &info);
  }
  static void join(Seat& seat) {
    EXPECT_EQ(registerAs(*seat.port, MM_MEDIASTREAMING_CHANNEL_LISTENER), 1U);
  }
  static void leave(Seat& seat) {
    EXPECT_EQ(unregister(*seat.port, MM_MEDIASTREAMING_CHANNEL_LISTENER), 1U);
  }
  static void showIn(PlatformPort& port, const std::shared_ptr<platform::View>& view) {
    tagMSRenderInfo info{kHead, MM_MEDIASTREAMING_CHANNEL_LISTENER,
                         view ? MM_MEDIASTREAMING_RENDER_ATTACH : MM_MEDIASTREAMING_RENDER_DETACH,
                         reinterpret_cast<std::uint64_t>(view.get()), 0};
    EXPECT_EQ(send(port, MM_MEDIASTREAMING_CMD_SET_RENDER, &info), 1U);
  }
  static void watch(Seat& seat) {
    seat.port->setWatched(true);
    showIn(*seat.port, seat.view);
  }
  static tagQuery query(MM_MEDIASTREAMING_QUERY_TYPE type) {
    tagQuery record{};
    record.sessionID = kIds.session;
    record.nQueryType = type;
    return record;
  }

  void present() { EXPECT_EQ(registerAs(*presenter_, MM_MEDIASTREAMING_CHANNEL_SOURCE), 1U); }
  void setStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, std::int64_t position) {
    tagMSSourceStatus record{kHead, MM_MEDIASTREAMING_CHANNEL_SOURCE, status, position, 0};
    EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_SOURCE_STATUS, &record), 1U);
  }
  void setVideoFormat(std::uint16_t width, std::uint16_t height) {
    tagMSVIDEOFORMATEX format{0, width, height, 25.0F, 0, 0};
    tagMSMediaFormat record{kHead, MM_MEDIASTREAMING_MEDIATYPE_VIDEO, 0, &format, sizeof format};
    EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_MEDIA_FORMAT, &record), 1U);
  }
  UCFResult sendSample(Sample sample) {
    return send(*presenter_, MM_MEDIASTREAMING_CMD_MEDIA_DATA, &sample.record);
  }
  void sendPicture(std::uint64_t timestamp) { EXPECT_EQ(sendSample(Sample(timestamp)), 1U); }
  void sendStill(std::uint64_t timestamp) {
    Sample sample(timestamp);
    sample.record.bReserved = 1;
    EXPECT_EQ(sendSample(std::move(sample)), 1U);
  }
  UCFResult sendSound(std::uint64_t timestamp, std::vector<std::int16_t> values) {
    Sample sample(timestamp);
    sample.record.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_AUDIO;
    sample.record.pData = values.data();
    sample.record.dwDataLength = values.size() * sizeof(std::int16_t);
    sample.record.pFormat = nullptr;
    sample.record.dwFormatLength = 0;
    return send(*presenter_, MM_MEDIASTREAMING_CMD_MEDIA_DATA, &sample.record);
  }
  // Time passes, and what is due in it happens.
  void step(platform::Duration duration) {
    clock_->advance(duration);
    turn();
  }
  static void turn() {
    while (platform::RunLoop::main().runReady() > 0) {
    }
  }
  // For what another thread does.
  static void waitFor(const std::function<bool()>& condition) {
    while (!condition()) std::this_thread::yield();
  }
  // Waits until the attendee has done with so many pictures, and answers its figures.
  static AttendeeStatistics whenReceived(const Seat& seat, std::uint64_t pictures) {
    waitFor([&] { return seat.port->statistics().framesReceived >= pictures; });
    return seat.port->statistics();
  }
  static void waitForSize(const platform::View& view, PixelSize size) {
    waitFor([&] {
      const auto shown = view.contents();
      return shown && PixelSize{shown->width, shown->height} == size;
    });
  }

  std::shared_ptr<platform::ManualClock> clock_ = std::make_shared<platform::ManualClock>();
  Observer observer_;
  InProcessPlatform platform_{kIds, observer_, clock_};
  std::shared_ptr<Peer> presenterPeer_ = std::make_shared<Peer>();
  std::unique_ptr<PresenterPort> presenter_ = platform_.attachPresenter(presenterPeer_);
  Seat attendee_{platform_};
};

}  // namespace meeting
