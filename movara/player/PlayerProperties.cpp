#include "movara/player/PlayerProperties.h"

const char* const kAVMovieFPSProperty = "kAVMovieFPSProperty";
const char* const kAVMovieStatusProperty = "kAVMovieStatusProperty";
const char* const kAVMediaVolumeProperty = "kAVMediaVolumeProperty";
const char* const kAVMovieCurTimeProperty = "kAVMovieCurTimeProperty";
const char* const kAVMovieDurationProperty = "kAVMovieDurationProperty";
const char* const kAVMovieSizeHeightProperty = "kAVMovieSizeHeightProperty";
const char* const kAVMediaSizeWidthProperty = "kAVMediaSizeWidthProperty";
const char* const kAVMediaMediaTypeProperty = "kAVMediaMediaTypeProperty";
const char* const kAVMediaNBRModeProperty = "kAVMediaNBRModeProperty";
const char* const kAVMovieActiveProperty = "kAVMovieActiveProperty";
const char* const kAVMMPFailoverProcessing = "kAVMMPFailoverProcessing";
const char* const kAVAllowEnterFitMode = "kAVAllowEnterFitMode";
const char* const kAVMovieEmbedMode = "kAVMovieEmbedMode";
const char* const kAVMovieCurrentPresenterRole = "kAVMovieCurrentPresenterRole";
