#include "tests/meeting/ClipTest.h"

#include <cstdlib>

#include "tests/support/Process.h"

namespace meeting {

void ClipTest::SetUpTestSuite() {
  std::string pattern = (std::filesystem::temp_directory_path() / "movara-meeting-XXXXXX").string();
  folder_ = ::mkdtemp(pattern.data());
  // Not through the loudspeakers of whoever runs the tests.
  ::setenv("SDL_AUDIODRIVER", "dummy", 1);  // NOLINT(concurrency-mt-unsafe): no threads yet
}

void ClipTest::TearDownTestSuite() { std::filesystem::remove_all(folder_); }

std::string ClipTest::clipOf(const std::string& name, const std::string& picture, int seconds,
                             const std::string& pixelFormat) {
  const std::string path = in(name);
  if (std::filesystem::exists(path)) return path;
  const support::Finished made = support::run(support::words(
      "ffmpeg -nostdin -v error -y -f lavfi -i " + picture +
      " -f lavfi -i sine=frequency=440:sample_rate=48000 -t " + std::to_string(seconds) +
      " -c:v libx264 -preset ultrafast -pix_fmt " + pixelFormat + " -c:a flac " + path));
  EXPECT_EQ(made.status, 0) << made.err;
  return path;
}

}  // namespace meeting
