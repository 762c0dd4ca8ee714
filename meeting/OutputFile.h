// A file that is written, and that remembers why it could not be. One thread at a time.
#pragma once

#include <array>
#include <optional>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "meeting/ExitStatus.h"

namespace meeting {

class OutputFile final : private std::streambuf, public std::ostream {
 public:
  // Writes to a descriptor of the caller, who closes it.
  explicit OutputFile(int descriptor);
  // Creates the file, or empties it.
  explicit OutputFile(const std::string& path);
  ~OutputFile() override;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Writes what is left, and closes what was opened here: nothing is written any more. 0, or the
  // first error that there was, a number as in errno.
  int finish();

 private:
  std::streambuf::int_type overflow(std::streambuf::int_type character) override;
  int sync() override;

  std::array<char, 1 << 14> buffer_{};
  const bool owned_;
  int descriptor_;
  int error_ = 0;
};

// Says that a file could not be written, and why, if `error` is not 0.
Failure cannotWrite(const std::string& path, int error);

// Makes the files, where a path is not empty, unless one of them is shared, cannot be written, or
// is another one, too; then it answers what is wrong.
std::optional<Failure> checkOutputs(const std::vector<std::string>& paths,
                                    const std::vector<std::string>& shared);

}  // namespace meeting
