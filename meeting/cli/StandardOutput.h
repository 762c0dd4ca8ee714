// Standard output that remembers why it could not be written. [main-thread]
#pragma once

#include <array>
#include <ostream>
#include <streambuf>

namespace meeting {

class StandardOutput final : private std::streambuf, public std::ostream {
 public:
  StandardOutput();

  // Writes what is left. 0, or the errno of the first write that failed.
  int finish();

  // Standard streams that are closed would be taken by the first files to be opened: those are
  // opened as ones that cannot be written, and not read.
  static void holdClosedStreams();

 private:
  std::streambuf::int_type overflow(std::streambuf::int_type character) override;
  int sync() override;

  std::array<char, 1 << 14> buffer_{};
  int error_ = 0;
};

}  // namespace meeting
