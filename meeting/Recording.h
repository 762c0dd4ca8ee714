// A recorded meeting's source: plays the file where a live meeting has the presenter's object, and
// sends the platform what that one would send.
//
// Threads: main thread; samples go out on the capture framework's delivery threads.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "avcapture/KTVideoPlayer.h"
#include "avcapture/LUMAVCaptureSession.h"
#include "avcapture/Protocols.h"
#include "meeting/MultimediaPlatform.h"
#include "mmp/ParticipantRecords.h"
#include "mmp/RequestRecords.h"
#include "platform/Object.h"
#include "platform/View.h"

namespace meeting {

class Recording final : public platform::Object,
                        public avcapture::KTVideoPlayerDelegate,
                        public avcapture::AVStreamDataListener {
 public:
  // Opens the file, registers its stream and shows it in `view`; null when it is not a media file.
  static std::shared_ptr<Recording> open(const std::string& file, tagMSHead ids,
                                         std::unique_ptr<PlatformPort> port, platform::View& view);
  ~Recording() override;

  const std::shared_ptr<avcapture::KTVideoPlayer>& player() const { return player_; }
  // What the attendees' objects are told of the media.
  tagStmMediaInfo mediaInfo() const;
  // Ends the stream; nothing is sent once it has returned.
  void close();

  Recording(tagMSHead ids, std::unique_ptr<PlatformPort> port);

 private:
  bool play(const std::string& file, platform::View& view);
  void registerSource();
  void sendStatus(MM_MEDIASTREAMING_SOURCE_STATUS status, std::uint64_t seekMark);
  void sendVideoFormat();
  void sendAudioFormat();
  void sendFormat(MM_MEDIASTREAMING_MEDIATYPE type, void* format, std::size_t bytes);
  void send(MM_MEDIASTREAMING_COMMAND command, void* record);

  // AVPlayerActionListener
  void renderMovie(bool rendered) override;
  void volumeChange(platform::Object* sender, const platform::Value& volume) override;
  void onPlay(platform::Object* sender) override;
  void onPause(platform::Object* sender) override;
  void onStop(platform::Object* sender) override;
  void onSkip(platform::Object* sender) override;
  void toggleFullscreen(platform::Object* sender) override;
  void prepareDeliverLastestImageAgain() override {}
  bool allowEnterFIT() override { return false; }
  bool allow2Play() override { return true; }
  void hideOtherEmbedCtrlbarWindow() override {}
  // AVMediaProperties
  float fps() override;
  bool isPlaying() override;
  bool pausedByUser() override;
  float currentTime() override;
  float duration() override;
  platform::Size mediaSize() override;
  std::int32_t mediaType() override;
  bool isEmbed() override { return false; }
  std::int64_t volume() override;
  void active() override {}
  void deactive() override {}
  void pauseEmbedPlayer() override {}
  bool isPresenter() override { return true; }
  // AVStreamDataListener
  void newImageArrive(void* pixels, std::uint32_t width, std::uint32_t height,
                      std::uint32_t timestamp) override;
  void newAudioFramesArrive(platform::Object* sender, avcapture::AudioBufferList* list,
                            std::uint64_t frames, avcapture::AudioStreamBasicDescription* asbd,
                            std::uint32_t timestamp) override;

  const tagMSHead ids_;
  std::unique_ptr<PlatformPort> port_;
  std::shared_ptr<avcapture::KTVideoPlayer> player_;
  std::shared_ptr<avcapture::LUMAVCaptureSession> session_;
  // Written by one delivery thread each, read on the main thread once it has been told.
  std::atomic<std::uint32_t> videoSize_{0};   // width * 65536 + height
  std::atomic<std::uint64_t> audioShape_{0};  // rate * 65536 + channels
};

}  // namespace meeting
