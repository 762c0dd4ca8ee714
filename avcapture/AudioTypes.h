// Descriptions of audio blocks as the stream listener receives them.
#pragma once

#include <cstdint>

namespace avcapture {

// Format of a stream of linear PCM.
struct AudioStreamBasicDescription {
  double mSampleRate;  // Hz
  std::uint32_t mFormatID;
  std::uint32_t mFormatFlags;
  std::uint32_t mBytesPerPacket;
  std::uint32_t mFramesPerPacket;
  std::uint32_t mBytesPerFrame;
  std::uint32_t mChannelsPerFrame;
  std::uint32_t mBitsPerChannel;
  std::uint32_t mReserved;
};
static_assert(sizeof(AudioStreamBasicDescription) == 40);

inline constexpr std::uint32_t kAudioFormatLinearPCM = 0x6C70636D;  // 'lpcm'
inline constexpr std::uint32_t kAudioFormatFlagIsSignedInteger = 4;
inline constexpr std::uint32_t kAudioFormatFlagIsPacked = 8;

struct AudioBuffer {
  std::uint32_t mNumberChannels;
  std::uint32_t mDataByteSize;  // bytes
  void* mData;
};

// A list of buffers; one with interleaved sound has a single entry.
struct AudioBufferList {
  std::uint32_t mNumberBuffers;
  AudioBuffer mBuffers[1];
};

}  // namespace avcapture
