#include "movara/common/BridgeNotifications.h"

const char* const HOLStatusNotification = "HOLStatusNotification";
const char* const HOLStatusNoticationValueKey = "Status";
const char* const PDQueryHOLStatusNotification = "PDQueryHOLStatusNotification";
const char* const kMSVideoRenderSizeChangedNotification = "MSVideoRenderSizeChanged";
const char* const kMSVideoRenderSourceIDKey = "MSVideoRenderSourceID";
const char* const kMSVideoRenderWidthKey = "MSVideoRenderWidth";
const char* const kMSVideoRenderHeightKey = "MSVideoRenderHeight";
const char* const kMSActiveViewChangedNotification = "MSActiveViewChanged";
const char* const kMSPauseEmbedPlayerNotification = "MSPauseEmbedPlayer";
const char* const kMSHideOtherEmbedCtrlbarNotification = "MSHideOtherEmbedCtrlbar";
