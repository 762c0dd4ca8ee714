// Keys of the player's property store, exported from the module. Each key's text is its own name.
#pragma once

#include "movara/common/Export.h"

extern "C" {

MOVARA_API extern const char* const
    kAVMovieFPSProperty;  // float: frame rate of the received stream
MOVARA_API extern const char* const kAVMovieStatusProperty;    // int: listener play status
MOVARA_API extern const char* const kAVMediaVolumeProperty;    // number: listener volume, 0 to 255
MOVARA_API extern const char* const kAVMovieCurTimeProperty;   // float: listener position, seconds
MOVARA_API extern const char* const kAVMovieDurationProperty;  // float: announced length, seconds
MOVARA_API extern const char* const kAVMovieSizeHeightProperty;  // int: pixels
MOVARA_API extern const char* const kAVMediaSizeWidthProperty;   // int: pixels
MOVARA_API extern const char* const kAVMediaMediaTypeProperty;   // int: 1 audio only, 3 movie
MOVARA_API extern const char* const kAVMediaNBRModeProperty;     // bool: recording playback
MOVARA_API extern const char* const kAVMovieActiveProperty;      // bool: the player view is active
MOVARA_API extern const char* const kAVMMPFailoverProcessing;  // bool: the platform is failing over
MOVARA_API extern const char* const kAVAllowEnterFitMode;      // bool: absent reads as yes
MOVARA_API extern const char* const kAVMovieEmbedMode;  // bool: embedded in the meeting window
MOVARA_API extern const char* const kAVMovieCurrentPresenterRole;  // bool: absent reads as yes
}

// Listener play status under kAVMovieStatusProperty beyond PlayerStatus.
enum ListenerStatus : int {
  kListenerStatusRebuffering = 7,
  kListenerStatusProviderCrashed = 8,
  kListenerStatusMovieInvalid = 9,
};
