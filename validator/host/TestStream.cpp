#include "validator/host/TestStream.h"

#include <atomic>
#include <chrono>
#include <utility>
#include <vector>

#include "platform/RunLoop.h"
#include "validator/host/Checks.h"

namespace hostcheck {

namespace {

using std::chrono_literals::operator""ms;
using std::chrono_literals::operator""s;

constexpr std::uint64_t kPictureMs = 40;
constexpr std::uint64_t kBlockMs = 10;
constexpr std::uint16_t kSamplesPerSecond = 48000;
// More than any host needs for one sample.
constexpr auto kHangLimit = 5s;

// Rows are padded to a multiple of 4 bytes.
constexpr std::size_t kBytesPerPicture =
    ((std::size_t{3} * kPictureWidth + 3) & ~std::size_t{3}) * kPictureHeight;

}  // namespace

// What the threads look at; lives as long as the last of them.
struct TestStream::Flow {
  std::shared_ptr<RouterCalls> router;
  std::function<void()> ended;
  std::atomic<bool> stop{false};
  std::atomic<int> sending{2};

  void send(std::vector<unsigned char> data, MM_MEDIASTREAMING_MEDIATYPE type, void* format,
            std::size_t formatSize, std::uint64_t stepMs) {
    const auto start = std::chrono::steady_clock::now();
    for (std::uint64_t at = 0; at < kMovieMs && !stop; at += stepMs) {
      std::this_thread::sleep_until(start + std::chrono::milliseconds(at));
      data.assign(data.size(), static_cast<unsigned char>(at / stepMs));
      tagMSDataStructure record{};
      record.dwTimestamp = at;
      record.pData = data.data();
      record.dwDataLength = data.size();
      record.nMediaType = type;
      record.pFormat = format;
      record.dwFormatLength = formatSize;
      router->sample(record);
      Findings::shared().note(Check::samplesReturn, true, "");
    }
    if (--sending == 0) platform::dispatchOnMainThread(std::move(ended));
  }
};

TestStream::TestStream(std::shared_ptr<RouterCalls> router, std::function<void()> ended)
    : flow_(std::make_shared<Flow>()) {
  flow_->router = std::move(router);
  flow_->ended = std::move(ended);
  pictures_ = std::thread([flow = flow_] {
    tagMSVIDEOFORMATEX format = videoFormat();
    flow->send(std::vector<unsigned char>(kBytesPerPicture), MM_MEDIASTREAMING_MEDIATYPE_VIDEO,
               &format, sizeof format, kPictureMs);
  });
  sound_ = std::thread([flow = flow_] {
    tMSAUDIOFORMATEX format = audioFormat();
    flow->send(std::vector<unsigned char>(format.nAvgBytesPerSec * kBlockMs / 1000),
               MM_MEDIASTREAMING_MEDIATYPE_AUDIO, &format, sizeof format, kBlockMs);
  });
}

TestStream::~TestStream() {
  flow_->stop = true;
  auto& loop = platform::RunLoop::main();
  const auto limit = std::chrono::steady_clock::now() + kHangLimit;
  while (flow_->sending > 0 && std::chrono::steady_clock::now() < limit)
    loop.runUntil(loop.now() + 2ms, platform::kConnectionReplyMode);
  const bool returned = flow_->sending == 0;
  Findings::shared().note(Check::samplesReturn, returned,
                          "a sample did not come back within five seconds");
  for (std::thread* thread : {&pictures_, &sound_}) {
    if (returned)
      thread->join();
    else
      thread->detach();
  }
}

tagMSVIDEOFORMATEX TestStream::videoFormat() {
  tagMSVIDEOFORMATEX format{};
  format.wWidth = kPictureWidth;
  format.wHeight = kPictureHeight;
  format.wFrameRate = 1000.0F / kPictureMs;
  return format;
}

tMSAUDIOFORMATEX TestStream::audioFormat() {
  tMSAUDIOFORMATEX format{};
  format.nChannels = 1;
  format.nSamplesPerSec = kSamplesPerSecond;
  format.nAvgBytesPerSec = 2 * format.nSamplesPerSec;
  format.nBlockAlign = 2;
  format.wBitsPerSample = 16;
  format.cbSize = sizeof format;
  return format;
}

}  // namespace hostcheck
