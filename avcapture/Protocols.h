// What the capture framework calls: the delegate of a player view and the stream listener of a
// capture session. None of these is retained by the framework beyond what its headers say.
#pragma once

#include <cstdint>

#include "avcapture/AudioTypes.h"
#include "avcapture/Export.h"
#include "platform/Object.h"
#include "platform/Value.h"
#include "platform/View.h"

namespace avcapture {

// User actions on a player view and what the view wants done about them. [main-thread]
class AVCAPTURE_API AVPlayerActionListener {
 public:
  // The view has taken, or refused, the movie given to it. Sent from within setMovie.
  virtual void renderMovie(bool rendered) = 0;
  // The volume was changed to a number of 0 to 255.
  virtual void volumeChange(platform::Object* sender, const platform::Value& volume) = 0;
  // The view has started, paused or stopped playing. onStop is also sent at the end of the movie.
  virtual void onPlay(platform::Object* sender) = 0;
  virtual void onPause(platform::Object* sender) = 0;
  virtual void onStop(platform::Object* sender) = 0;
  // A seek has completed.
  virtual void onSkip(platform::Object* sender) = 0;
  // The full-screen button was pressed.
  virtual void toggleFullscreen(platform::Object* sender) = 0;
  // The view is about to deliver its latest picture once more.
  virtual void prepareDeliverLastestImageAgain() = 0;
  virtual bool allowEnterFIT() = 0;
  // Whether playing may start now.
  virtual bool allow2Play() = 0;
  // This view shows its embedded control bar; other views should hide theirs.
  virtual void hideOtherEmbedCtrlbarWindow() = 0;

 protected:
  ~AVPlayerActionListener() = default;
};

// Receives what a capture session decodes. Pointers are valid during the call only.
// [delivery-thread: one for video, another for audio]
class AVCAPTURE_API AVStreamDataListener {
 public:
  // One picture: 24-bit R, G, B, rows padded to a multiple of 4 bytes. `timestamp` is movie time in
  // milliseconds. Before playing starts or goes on after a seek, null pixels announce the size of
  // the picture to come; the clock waits until the call has returned.
  virtual void newImageArrive(void* pixels, std::uint32_t imageWidth, std::uint32_t imageHeight,
                              std::uint32_t timestamp) = 0;
  // One block of interleaved 16-bit PCM. `timestamp` is movie time in milliseconds of its first
  // sample. A null list announces the description of the sound to come, as null pixels do a size.
  virtual void newAudioFramesArrive(platform::Object* sender, AudioBufferList* audioBufferList,
                                    std::uint64_t frameAcount, AudioStreamBasicDescription* asbd,
                                    std::uint32_t timestamp) = 0;

 protected:
  ~AVStreamDataListener() = default;
};

// What a player view asks its delegate about the media. [main-thread]
class AVCAPTURE_API AVMediaProperties {
 public:
  virtual float fps() = 0;
  virtual bool isPlaying() = 0;
  virtual bool pausedByUser() = 0;
  virtual float currentTime() = 0;  // seconds
  virtual float duration() = 0;     // seconds
  virtual platform::Size mediaSize() = 0;
  virtual std::int32_t mediaType() = 0;  // as KTVideoPlayer::mediaType
  virtual bool isEmbed() = 0;
  virtual std::int64_t volume() = 0;  // 0 to 255
  virtual void active() = 0;
  virtual void deactive() = 0;
  // This view starts playing inside the meeting window; other presenter views should pause.
  virtual void pauseEmbedPlayer() = 0;
  virtual bool isPresenter() = 0;

 protected:
  ~AVMediaProperties() = default;
};

// Receives a timer's tick. [main-thread]
class AVCAPTURE_API TimerProxyListener {
 public:
  virtual void onTimer() = 0;

 protected:
  ~TimerProxyListener() = default;
};

// The delegate of a player view.
class AVCAPTURE_API KTVideoPlayerDelegate : public AVPlayerActionListener,
                                            public AVMediaProperties {
 protected:
  ~KTVideoPlayerDelegate() = default;
};

}  // namespace avcapture
