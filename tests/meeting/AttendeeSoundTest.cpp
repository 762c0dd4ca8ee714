// What an attendee hears of the presenter's stream.
#include <iterator>
#include <limits>

#include "tests/meeting/PlatformFixture.h"

namespace meeting {
namespace {

struct Ear final : SoundSink {
  void sound(const AudioFormat& format, const AudioSample& sample) override {
    EXPECT_EQ(format.rate, 48000U);
    const auto* values = reinterpret_cast<const std::int16_t*>(sample.data);
    heard.assign(values, values + sample.bytes / sizeof(std::int16_t));
    bytes = sample.data;
  }
  std::vector<std::int16_t> heard;
  const void* bytes = nullptr;
};

class AttendeeSoundTest : public PlatformFixture {
 protected:
  AttendeeSoundTest() { present(); }
  void setAudioFormat(std::uint16_t bits) {
    tMSAUDIOFORMATEX format{0, 1, 0, 48000, 96000, 2, bits, 32, 0};
    tagMSMediaFormat record{kHead, MM_MEDIASTREAMING_MEDIATYPE_AUDIO, 0, &format, sizeof format};
    EXPECT_EQ(send(*presenter_, MM_MEDIASTREAMING_CMD_MEDIA_FORMAT, &record), 1U);
  }
};

TEST_F(AttendeeSoundTest, SoundIsHeardAtTheAttendeesVolume) {
  struct Case {
    const char* name;
    std::uint16_t volume;
    std::uint32_t mute;
    std::vector<std::int16_t> heard;
  };
  constexpr auto kLeast = std::numeric_limits<std::int16_t>::min();
  const std::vector<std::int16_t> spoken{1000, -1000, 32767, kLeast, 1, -1, 0};
  const Case cases[] = {
      {"full", 255, 0, spoken},
      {"half", 128, 0, {501, -501, 16447, -16448, 0, 0, 0}},
      {"none", 0, 0, {0, 0, 0, 0, 0, 0, 0}},
      {"muted", 255, 1, {0, 0, 0, 0, 0, 0, 0}},
      {"muted otherwise", 128, 7, {0, 0, 0, 0, 0, 0, 0}},
      {"loud again", 255, 0, spoken},
  };
  join(attendee_);
  const auto ear = std::make_shared<Ear>();
  attendee_.port->listen(ear);
  EXPECT_EQ(sendSound(0, spoken), 1U);
  EXPECT_TRUE(ear->heard.empty()) << "of an unknown format";
  setAudioFormat(8);
  EXPECT_EQ(sendSound(0, spoken), 1U);
  EXPECT_TRUE(ear->heard.empty()) << "not what sinks take";
  setAudioFormat(16);
  for (const Case& test : cases) {
    SCOPED_TRACE(test.name);
    tagMSVolumeInfo volume{kHead, MM_MEDIASTREAMING_CHANNEL_LISTENER, test.volume, 0};
    EXPECT_EQ(send(*attendee_.port, MM_MEDIASTREAMING_CMD_VOLUME, &volume), 1U);
    tagMSMuteInfo mute{kHead, MM_MEDIASTREAMING_CHANNEL_LISTENER,
                       static_cast<MM_MEDIASTREAMING_MUTESTATUS>(test.mute)};
    EXPECT_EQ(send(*attendee_.port, MM_MEDIASTREAMING_CMD_MUTE_STATUS, &mute), 1U);
    EXPECT_EQ(sendSound(0, spoken), 1U);
    EXPECT_EQ(ear->heard, test.heard);
    EXPECT_EQ(attendee_.port->statistics().volume, test.volume);
    EXPECT_EQ(attendee_.port->statistics().muted, test.mute != 0);
  }
  ear->heard.clear();
  attendee_.port->listen(nullptr);
  sendSound(0, spoken);
  EXPECT_TRUE(ear->heard.empty());
  EXPECT_EQ(attendee_.port->statistics().audioBlocksReceived, std::size(cases) + 3);
}

}  // namespace
}  // namespace meeting
