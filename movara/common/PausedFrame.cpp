#include "movara/common/PausedFrame.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "safelib/safe_lib.h"

namespace {

constexpr std::uint64_t kNoTimestamp = std::numeric_limits<std::uint64_t>::max();

std::shared_ptr<PausedFrame::Buffer> makeBuffer(std::size_t capacity) {
  try {
    // The bytes are written before they are read.
    return std::make_shared<PausedFrame::Buffer>(
        PausedFrame::Buffer{std::make_unique_for_overwrite<std::uint8_t[]>(capacity), capacity});
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

PausedFrame::PausedFrame() : buffer_(makeBuffer(kInitialCapacity)) {
  record_.dwTimestamp = kNoTimestamp;
  if (buffer_) record_.pData = buffer_->bytes.get();
}

bool PausedFrame::holds(const tagMSDataStructure& sample) const {
  return record_.dwDataLength == sample.dwDataLength &&
         record_.nMediaType == MM_MEDIASTREAMING_MEDIATYPE_VIDEO &&
         record_.dwFormatLength == sample.dwFormatLength &&
         record_.dwTimestamp == sample.dwTimestamp && record_.bReserved != 0 &&
         std::memcmp(record_.pData, sample.pData, sample.dwDataLength) == 0;
}

bool PausedFrame::redraw(const tagMSDataStructure& sample) {
  if (!holds(sample)) return false;
  takeFormat(sample);
  return true;
}

void PausedFrame::takeFormat(const tagMSDataStructure& sample) {
  format_ = *static_cast<const tagMSVIDEOFORMATEX*>(sample.pFormat);
  record_.pFormat = &format_;
  record_.dwFormatLength = sample.dwFormatLength;
}

bool PausedFrame::store(const tagMSDataStructure& sample) {
  const auto length = static_cast<std::uint32_t>(sample.dwDataLength);
  if (sample.dwDataLength >= SAFE_LIB_MAX_MEM || !provideBuffer(length)) return false;
  if (length != 0 && memmove_s(record_.pData, static_cast<std::uint32_t>(buffer_->capacity),
                               sample.pData, length) != 0) {
    return false;
  }
  record_.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_VIDEO;
  record_.dwDataLength = sample.dwDataLength;
  takeFormat(sample);
  record_.dwTimestamp = sample.dwTimestamp;
  record_.bReserved = 1;
  return true;
}

void PausedFrame::clear() {
  record_.nMediaType = MM_MEDIASTREAMING_MEDIATYPE_NONE;
  record_.dwDataLength = 0;
  record_.dwTimestamp = 0;
  record_.dwFormatLength = 0;
  record_.pFormat = nullptr;
  record_.bReserved = 0;
}

// Makes buffer_ large enough and nobody else's. Pins come and go under the owner's guard, so the
// count cannot change meanwhile.
bool PausedFrame::provideBuffer(std::size_t bytes) {
  if (buffer_ && buffer_.use_count() == 1 && buffer_->capacity >= bytes) return true;
  auto buffer = makeBuffer(std::max(bytes, buffer_ ? buffer_->capacity : kInitialCapacity));
  if (!buffer) return false;
  buffer_ = std::move(buffer);
  record_.pData = buffer_->bytes.get();
  return true;
}
