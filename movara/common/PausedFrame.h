// The copy of the latest still frame, kept while a movie is paused.
//
// Not synchronised: its owner guards it, and the taking and dropping of pins as well. A Pin keeps
// the pixels as they are while they are being sent without the guard; a frame that is stored
// meanwhile goes to another buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "mmp/RequestRecords.h"

class PausedFrame {
 public:
  struct Buffer {
    std::unique_ptr<std::uint8_t[]> bytes;
    std::size_t capacity = 0;  // bytes
  };
  // A record as it was, the format of its pixels, and what keeps them.
  struct Pin {
    tagMSDataStructure record{};
    tagMSVIDEOFORMATEX format{};
    std::shared_ptr<const Buffer> buffer;
  };

  // Bytes that the first buffer takes.
  static constexpr std::size_t kInitialCapacity = 2'400'000;

  // Without memory for a buffer the copy stays without one.
  PausedFrame();

  bool hasBuffer() const { return buffer_ != nullptr; }
  // Whether it holds exactly this sample: same time, same length, same pixels. If so, it takes over
  // the sample's format: the same bytes can be a picture of another shape.
  bool redraw(const tagMSDataStructure& sample);
  // Copies the pixels and the video format of the sample and takes over its description. False,
  // keeping what there was, when there is no memory for it.
  bool store(const tagMSDataStructure& sample);
  // Forgets the frame, not the buffer.
  void clear();

  // While it holds a frame, the record's pFormat says no more than that it has one: the format is
  // the pin's.
  Pin pin() const { return {record_, format_, buffer_}; }

 private:
  bool holds(const tagMSDataStructure& sample) const;
  void takeFormat(const tagMSDataStructure& sample);
  bool provideBuffer(std::size_t bytes);

  tagMSDataStructure record_{};
  tagMSVIDEOFORMATEX format_{};
  std::shared_ptr<Buffer> buffer_;
};
