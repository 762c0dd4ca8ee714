// Keys of the player's property store, exported from the module. Each key's text is its own name.
#pragma once

extern "C" {

extern const char* const kAVMovieFPSProperty;           // float: frame rate of the received stream
extern const char* const kAVMovieStatusProperty;        // int: listener play status
extern const char* const kAVMediaVolumeProperty;        // number: listener volume, 0 to 255
extern const char* const kAVMovieCurTimeProperty;       // float: listener position, seconds
extern const char* const kAVMovieDurationProperty;      // float: announced length, seconds
extern const char* const kAVMovieSizeHeightProperty;    // int: pixels
extern const char* const kAVMediaSizeWidthProperty;     // int: pixels
extern const char* const kAVMediaMediaTypeProperty;     // int: 1 audio only, 3 movie
extern const char* const kAVMediaNBRModeProperty;       // bool: recording playback
extern const char* const kAVMovieActiveProperty;        // bool: the player view is active
extern const char* const kAVMMPFailoverProcessing;      // bool: the platform is failing over
extern const char* const kAVAllowEnterFitMode;          // bool: absent reads as yes
extern const char* const kAVMovieEmbedMode;             // bool: embedded in the meeting window
extern const char* const kAVMovieCurrentPresenterRole;  // bool: absent reads as yes
}

// Listener play status under kAVMovieStatusProperty beyond PlayerStatus.
enum ListenerStatus : int {
  kListenerStatusRebuffering = 7,
  kListenerStatusProviderCrashed = 8,
  kListenerStatusMovieInvalid = 9,
};
