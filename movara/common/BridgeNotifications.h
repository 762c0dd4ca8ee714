// Names and keys of the in-process notifications that the bridge shares with other modules of the
// client, exported from the module. Constants: any thread may read them.
#pragma once

#include "movara/common/Export.h"

extern "C" {

// The client's HOL status; bool under HOLStatusNoticationValueKey. Observed.
MOVARA_API extern const char* const HOLStatusNotification;
MOVARA_API extern const char* const HOLStatusNoticationValueKey;
// Asks the client for its HOL status. Posted.
MOVARA_API extern const char* const PDQueryHOLStatusNotification;

// A received stream has a new size; integers under the three keys. Observed.
MOVARA_API extern const char* const kMSVideoRenderSizeChangedNotification;
MOVARA_API extern const char* const kMSVideoRenderSourceIDKey;
MOVARA_API extern const char* const kMSVideoRenderWidthKey;
MOVARA_API extern const char* const kMSVideoRenderHeightKey;

// For other modules; nothing in this one posts or observes it.
MOVARA_API extern const char* const kMSActiveViewChangedNotification;

// Between the bridges of one process, the sender is the posting bridge. Posted and observed.
MOVARA_API extern const char* const kMSPauseEmbedPlayerNotification;
MOVARA_API extern const char* const kMSHideOtherEmbedCtrlbarNotification;
}
