#include "meeting/RecordChecks.h"

namespace meeting {

namespace {

constexpr std::uint64_t kMaxSampleBytes = 1ULL << 30;

// Rows are padded to a multiple of 4 bytes.
std::uint32_t bytesPerRow(std::uint32_t width) { return (3 * width + 3) & ~3U; }

bool hasFormat(const void* format, std::uint64_t length, std::size_t expected) {
  return format != nullptr && length == expected;
}

bool hasData(const DocumentIds& ids, const tagMSDataStructure& record) {
  return DocumentIds{record.sessionID, record.sourceID} == ids && record.pData != nullptr &&
         record.dwDataLength > 0 && record.dwDataLength <= kMaxSampleBytes;
}

}  // namespace

bool isAbout(const DocumentIds& ids, const tagMSHead& head) {
  return DocumentIds{head.sessionID, head.sourceID} == ids;
}

std::optional<VideoFormat> videoFormat(const tagMSMediaFormat& record) {
  if (!hasFormat(record.pFormat, record.dwFormatSize, sizeof(tagMSVIDEOFORMATEX)))
    return std::nullopt;
  const auto& format = *static_cast<const tagMSVIDEOFORMATEX*>(record.pFormat);
  if (format.wWidth == 0 || format.wHeight == 0) return std::nullopt;
  return VideoFormat{format.wWidth, format.wHeight, format.wFrameRate};
}

std::optional<AudioFormat> audioFormat(const tagMSMediaFormat& record) {
  if (!hasFormat(record.pFormat, record.dwFormatSize, sizeof(tMSAUDIOFORMATEX)))
    return std::nullopt;
  const auto& format = *static_cast<const tMSAUDIOFORMATEX*>(record.pFormat);
  if (format.nChannels == 0 || format.nSamplesPerSec == 0) return std::nullopt;
  return AudioFormat{format.nChannels, format.nSamplesPerSec, format.wBitsPerSample};
}

std::optional<VideoSample> videoSample(const DocumentIds& ids, const tagMSDataStructure& record) {
  if (!hasData(ids, record) ||
      !hasFormat(record.pFormat, record.dwFormatLength, sizeof(tagMSVIDEOFORMATEX)))
    return std::nullopt;
  const auto& format = *static_cast<const tagMSVIDEOFORMATEX*>(record.pFormat);
  const std::uint32_t row = bytesPerRow(format.wWidth);
  if (format.wWidth == 0 || format.wHeight == 0 ||
      record.dwDataLength != std::uint64_t{row} * format.wHeight)
    return std::nullopt;
  return VideoSample{.timestampMs = record.dwTimestamp,
                     .still = record.bReserved != 0,
                     .width = format.wWidth,
                     .height = format.wHeight,
                     .bytesPerRow = row,
                     .pixels = static_cast<const std::uint8_t*>(record.pData)};
}

std::optional<AudioSample> audioSample(const DocumentIds& ids, const tagMSDataStructure& record) {
  if (!hasData(ids, record)) return std::nullopt;
  // A block without a format continues the one before it.
  if (record.pFormat != nullptr && record.dwFormatLength != sizeof(tMSAUDIOFORMATEX))
    return std::nullopt;
  return AudioSample{.timestampMs = record.dwTimestamp,
                     .data = static_cast<const std::uint8_t*>(record.pData),
                     .bytes = record.dwDataLength};
}

}  // namespace meeting
