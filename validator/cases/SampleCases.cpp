// What the samples say that a host gets: their records, and the bytes that these point to. And the
// source that they and all other records name.
#include <numeric>

#include "validator/cases/ContractFixture.h"

namespace contract {
namespace {

using testing::ElementsAre;

// 3 by 2 pixels, 25 pictures a second; 2 channels of 16 bits at 44,100 Hz.
constexpr const char* kVideoFormat = "00000000030002000000c84100000000";
constexpr const char* kAudioFormat =
    "000000000200000044ac00000000000010b10200000000000400100020000000";

class SampleTest : public ContractTest {
 protected:
  // A stream that runs; its first format has been accepted.
  void play() {
    present();
    view()->playing = true;
    picture(0);
    host.onSample = [this](const tagMSDataStructure& sample) {
      sent_.push_back(
          "sample " + std::to_string(sample.nMediaType) + " " + std::to_string(sample.dwTimestamp) +
          (sample.bReserved != 0 ? " still " : " live ") + hex(sample.pData, sample.dwDataLength) +
          " " + hex(sample.pFormat, sample.dwFormatLength));
    };
  }
  // Three pixels by two, of rising bytes from `first` on; rows are padded to a multiple of four.
  void picture(std::uint8_t first) {
    std::iota(pixels_.begin(), pixels_.end(), first);
    streamListener()->newImageArrive(pixels_.data(), 3, 2, first);
    runMainThread();
  }
  Lines sent() { return std::exchange(sent_, {}); }

 private:
  std::array<std::uint8_t, std::size_t{12} * 2> pixels_{};
  Lines sent_;
};

CONTRACT_CASE(SampleTest, OfPictures, records,
              "the records of pictures, and the bytes behind them") {
  play();
  picture(40);
  EXPECT_THAT(sent(), ElementsAre("sample 1 40 live 28292a2b2c2d2e2f30313233"
                                  "3435363738393a3b3c3d3e3f " +
                                  std::string(kVideoFormat)));
  view()->playing = false;
  view()->invalidBuffers = 1;
  picture(80);
  advance(1.0);
  EXPECT_THAT(sent(), ElementsAre("sample 1 80 still 505152535455565758595a5b"
                                  "5c5d5e5f6061626364656667 " +
                                  std::string(kVideoFormat)));
}

CONTRACT_CASE(SampleTest, OfSound, records, "the records of sound, and the bytes behind them") {
  play();
  std::array<std::uint8_t, 8> bytes{1, 2, 3, 4, 5, 6, 7, 8};
  avcapture::AudioBufferList list{1, {{2, bytes.size(), bytes.data()}}};
  avcapture::AudioStreamBasicDescription format{44'100.0, 0, 0, 4, 1, 4, 2, 16, 0};
  streamListener()->newAudioFramesArrive(nullptr, &list, 2, &format, 60);
  EXPECT_THAT(host.take(), testing::Contains("format 0 " + std::string(kAudioFormat)));
  EXPECT_THAT(sent(),
              ElementsAre("sample 0 60 live 0102030405060708 " + std::string(kAudioFormat)));
}

// The host compares the id in each record that it gets.
CONTRACT_CASE(SampleTest, AndAllElseNameTheirSourceInAllItsBits, records,
              "a source id has 64 bits") {
  constexpr std::uint64_t kWide = RecordingHost::kSourceID + (1ULL << 32U);
  host.sourceID = kWide;
  play();
  picture(40);
  EXPECT_THAT(sent(), testing::SizeIs(1));
  end();
  host.take();
  listen();
  EXPECT_THAT(host.take(), testing::Contains("query 0 4294967338"));
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_CREATE_CONFIRM);
  mediaInfo({90000, MM_MEDIASTREAMING_MEDIACONTENT_AUDIO_VIDEO, 3});
  EXPECT_THAT(host.take(), testing::Contains("register 90 3"));
  host.sourceID = RecordingHost::kSourceID;
  channelStatus(MM_MEDIA_STREAMING_CHANNEL_STATUS_JOIN_SUCCESS);
  EXPECT_THAT(host.take(), testing::IsEmpty()) << "another source's channel";
  host.sourceID = kWide;
}

}  // namespace
}  // namespace contract
