// The player view: shows a movie, plays it, carries its controls.
//
// A view of type source opens a file and plays it; a view of type listener shows what somebody else
// draws into its render view. All calls are made on the main thread, except the queries marked
// [any-thread], which delivery threads make as well.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "avcapture/AVURLAsset.h"
#include "avcapture/Export.h"
#include "avcapture/Protocols.h"
#include "platform/Object.h"
#include "platform/Value.h"
#include "platform/View.h"

namespace avcapture {

enum PlayerType : int { kPlayerTypeSource = 1, kPlayerTypeListener = 2 };

// What a movie holds.
enum MediaType : int {
  kMediaTypeNone = 0,
  kMediaTypeAudio = 1,
  kMediaTypeVideo = 2,
  kMediaTypeAudioVideo = 3,
};

// What became of the pictures and sound since the movie was set.
struct PlaybackStatistics {
  std::uint64_t framesDelivered = 0;  // live pictures handed to the stream listener
  std::uint64_t stillsDelivered = 0;  // the same picture again while not playing
  std::uint64_t framesDropped = 0;    // decoded too late, or passed over while catching up
  std::uint64_t audioBlocksDelivered = 0;
};

// How views that are created from now on play. For hosts and measurements; the defaults are what
// an audience wants.
struct PlaybackOptions {
  bool paced = true;       // false: every picture once, as fast as the listener takes them
  int decoderThreads = 0;  // of the video decoder; 0 chooses by codec and size
  bool localSound = true;  // play to the machine's audio device when it has one
};
AVCAPTURE_API void setPlaybackOptions(const PlaybackOptions& options);
AVCAPTURE_API PlaybackOptions playbackOptions();

class AVCAPTURE_API KTVideoPlayer : public platform::Object {
 public:
  // A new view: FFmpeg's, unless setFactory has put another maker in its place (null restores it).
  static std::shared_ptr<KTVideoPlayer> newInstance();
  using Factory = std::shared_ptr<KTVideoPlayer> (*)();
  static void setFactory(Factory factory);

  // The crash section is open while a view opens a movie: crashSectionPath names the file that a
  // crash would be blamed on, and is empty otherwise. setMovie leaves it when it returns; one who
  // catches an exception out of setMovie leaves it with leaveCrashSection.
  static void leaveCrashSection();
  static std::string crashSectionPath();
  // For implementations: opens the section for `path`.
  static void enterCrashSection(const std::string& path);

  // The player view whose container view is `root` or below it; null when there is none.
  static std::shared_ptr<KTVideoPlayer> inView(const platform::View& root);

  // Set-up.
  virtual void setPlayerFitMode(int mode) = 0;
  virtual void setPlayerType(int type) = 0;  // PlayerType
  // Not retained: the delegate takes itself out before it ends.
  virtual void setDelegate(KTVideoPlayerDelegate* delegate) = 0;

  // The movie. setMovie opens it, tells the delegate renderMovie and answers whether it was taken;
  // a file without anything playable is refused. Throws platform::Exception only when the machine
  // runs out of something.
  virtual std::shared_ptr<AVURLAsset> movie() = 0;
  virtual bool setMovie(const std::shared_ptr<AVURLAsset>& movie) = 0;
  // Why the movie was refused, or why it ended before its end; for users to read, empty when
  // nothing is wrong.
  virtual std::string failure() { return {}; }

  // Views. The container view is what is placed in a host's view; the picture is drawn into the
  // render view below it.
  virtual std::shared_ptr<platform::View> containerView() = 0;
  virtual std::shared_ptr<platform::View> renderView() = 0;
  // Places the container view into `superview`, filling it; null takes it out.
  virtual void attachToSuperView(platform::View* superview) = 0;
  virtual void superFrameSizeChanged() = 0;
  // Fits the picture into the view again after its size changed; `argument` is not used.
  virtual void repositionPlayer(const platform::Value& argument) = 0;

  // Controls. onStart toggles between playing and paused; starting asks the delegate allow2Play and
  // remembers a refusal (notAllowPlayStaus). onStop goes to 0. Each tells the delegate.
  virtual void onStart(platform::Object* sender) = 0;
  virtual void onStop(platform::Object* sender) = 0;
  virtual void seek(float seconds) = 0;
  virtual void onChangeVolume(int volume) = 0;  // 0 to 100; tells the delegate in 0 to 255
  virtual void onUnMute(const platform::Value& sender) = 0;
  // The full-screen button: tells the delegate when it allows entering.
  virtual void onToggleFullscreen(platform::Object* sender) = 0;

  // State. [any-thread]
  virtual bool isPlaying() = 0;
  virtual bool pausedByUser() = 0;
  virtual float currentTime() = 0;      // seconds
  virtual std::int64_t duration() = 0;  // whole seconds
  virtual double fps() = 0;             // 0 when the file does not say
  virtual int invalidImageBufferCount() = 0;
  virtual PlaybackStatistics statistics() = 0;
  // The rest of the state.
  virtual bool notAllowPlayStaus() = 0;
  virtual int volume() = 0;  // 0 to 100
  virtual int mediaType() = 0;
  virtual void setMediaType(int type) = 0;
  virtual void setDuration(float seconds) = 0;
  virtual void setNBRMode(bool on) = 0;

  // Appearance.
  virtual void active() = 0;
  virtual void deactive() = 0;
  virtual void roleChanged(bool presenter) = 0;
  virtual void willChangeFitMode() = 0;
  virtual void setFullscreen(const platform::Value& on) = 0;
  virtual bool fullscreen() { return false; }
  // nil hides it.
  virtual void showEmbedControlbar(const platform::Value& show) = 0;
  virtual bool controlbarShown() { return false; }
  // A code of avcapture/StatusText.h.
  virtual void setStatusViewType(const platform::Value& code) = 0;
  virtual int statusViewType() = 0;

  // Delivers the picture that is showing to the stream listener once more, unless it is playing.
  virtual void deliverLatestImageAgain() = 0;

  // Ends playing and every thread of the view; nothing is delivered once it has returned. Serves
  // main-thread messages while it waits.
  virtual void willDie() = 0;
};

}  // namespace avcapture
