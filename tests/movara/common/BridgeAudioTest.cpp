#include <limits>

#include "tests/movara/common/PlayerFixture.h"

namespace {

using avcapture::AudioStreamBasicDescription;
using testing::ElementsAre;

constexpr AudioStreamBasicDescription pcm(double rate, std::uint32_t channels, std::uint32_t bits,
                                          std::uint32_t bytesPerPacket) {
  return {rate, 0, 0, bytesPerPacket, 1, bytesPerPacket, channels, bits, 0};
}

constexpr auto kCommon = pcm(44'100.0, 2, 16, 4);

class BridgeAudio : public PlayerFixture {
 protected:
  BridgeAudio() { makeSource(); }
  void arrive(AudioStreamBasicDescription format, std::uint32_t timestamp = 0) {
    bridge->newAudioFramesArrive(nullptr, &list, 2, &format, timestamp);
  }
  std::uint8_t bytes[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  avcapture::AudioBufferList list{1, {{2, sizeof(bytes), bytes}}};
};

TEST_F(BridgeAudio, FirstBlockAnnouncesItsFormatBeforeItself) {
  arrive(kCommon, 23);
  EXPECT_THAT(sink.takeCodes(),
              ElementsAre(PLAYER_NOTIFY_AUDIO_FORMAT, PLAYER_NOTIFY_MEDIA_SAMPLE));
  const tMSAUDIOFORMATEX& announced = sink.audioFormats.at(0);
  const SentSample& sent = sink.samples.at(0);
  for (const tMSAUDIOFORMATEX& record : {announced, sent.audio}) {
    EXPECT_EQ(record.wFormatTag, 0);
    EXPECT_EQ(record.nChannels, 2);
    EXPECT_EQ(record.nSamplesPerSec, 44'100U);
    EXPECT_EQ(record.nAvgBytesPerSec, 176'400U);
    EXPECT_EQ(record.nBlockAlign, 4);
    EXPECT_EQ(record.wBitsPerSample, 16);
    EXPECT_EQ(record.cbSize, 32);
  }
  EXPECT_EQ(sent.record.dwTimestamp, 23U);
  EXPECT_EQ(sent.record.pData, bytes);
  EXPECT_EQ(sent.record.dwDataLength, sizeof(bytes));
  EXPECT_EQ(sent.record.nMediaType, MM_MEDIASTREAMING_MEDIATYPE_AUDIO);
  EXPECT_EQ(sent.record.dwFormatLength, 32U);
}

TEST_F(BridgeAudio, FormatIsAnnouncedWhenRateChannelsOrWidthChange) {
  arrive(kCommon);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    AudioStreamBasicDescription format;
    bool announced;
    std::uint64_t bytesPerSecond;
    std::uint16_t blockAlign;
  } cases[] = {
      {pcm(44'100.0, 2, 16, 4), false, 176'400, 4},
      {pcm(44'100.5, 2, 16, 4), false, 176'402, 4},
      {pcm(44'100.0, 2, 16, 8), false, 176'400, 8},
      {pcm(48'000.0, 2, 32, 8), true, 192'000, 8},
      {pcm(48'000.0, 2, 16, 4), true, 192'000, 4},
      {pcm(48'000.0, 1, 16, 2), true, 96'000, 2},
      {pcm(nan, 1, 16, 2), true, 0, 2},
  };
  for (const auto& test : cases) {
    sink.takeCodes();
    arrive(test.format);
    SCOPED_TRACE(test.format.mSampleRate);
    EXPECT_EQ(sink.takeCodes().size(), test.announced ? 2U : 1U);
    EXPECT_EQ(sink.samples.back().audio.nAvgBytesPerSec, test.bytesPerSecond);
    EXPECT_EQ(sink.samples.back().audio.nBlockAlign, test.blockAlign);
  }
}

TEST_F(BridgeAudio, BlockWithoutDescriptionGoesOutWithoutFormat) {
  arrive(kCommon);
  bridge->newAudioFramesArrive(nullptr, &list, 2, nullptr, 0);
  EXPECT_EQ(sink.samples.back().record.pFormat, nullptr);
  EXPECT_EQ(sink.samples.back().record.dwFormatLength, 0U);
  sink.takeCodes();
  arrive(kCommon);  // the stored format was left alone
  EXPECT_THAT(sink.takeCodes(), ElementsAre(PLAYER_NOTIFY_MEDIA_SAMPLE));
}

TEST_F(BridgeAudio, DescriptionWithoutBuffersIsAnnouncedAlone) {
  auto format = kCommon;
  bridge->newAudioFramesArrive(nullptr, nullptr, 0, &format, 0);
  EXPECT_THAT(sink.takeCodes(), ElementsAre(PLAYER_NOTIFY_AUDIO_FORMAT));
  auto nothing = pcm(0.0, 0, 0, 0);
  EXPECT_TRUE(bridge->isAudioFormatChanged(&nothing));
  EXPECT_FALSE(bridge->isAudioFormatChanged(nullptr));
}

TEST_F(BridgeAudio, FormatHandedToTheApplicationStaysAsItWasWhileSoundGoesOn) {
  arrive(kCommon);
  bridge->deliverAudioFormatOnMainThreadDirectly();
  const auto* const kept = reinterpret_cast<const tMSAUDIOFORMATEX*>(sink.lastArgument());
  arrive(pcm(44'100.0, 2, 16, 8));
  EXPECT_EQ(kept->nBlockAlign, 4);
}

}  // namespace
