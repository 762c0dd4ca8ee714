// Reads request records that come from a plug-in, believing nothing: a record that does not hold
// what it says is refused as a whole. What a pointer points to is trusted for exactly the length
// that stands beside it. [any-thread]
#pragma once

#include <optional>

#include "meeting/MultimediaPlatform.h"
#include "mmp/RequestRecords.h"

namespace meeting {

// Whether the record is about this document.
bool isAbout(const DocumentIds& ids, const tagMSHead& head);

std::optional<VideoFormat> videoFormat(const tagMSMediaFormat& record);
std::optional<AudioFormat> audioFormat(const tagMSMediaFormat& record);

std::optional<VideoSample> videoSample(const DocumentIds& ids, const tagMSDataStructure& record);
std::optional<AudioSample> audioSample(const DocumentIds& ids, const tagMSDataStructure& record);

}  // namespace meeting
