#include "platform/Text.h"

#include <iconv.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <vector>

namespace platform {

namespace {

class Converter {
 public:
  Converter(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
  ~Converter() {
    if (valid()) iconv_close(handle_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;

  bool valid() const { return handle_ != failed(); }
  // Whether all of the input was converted; the output is then cut to what was written.
  bool convert(std::u16string text, std::string& output) const {
    char* in = reinterpret_cast<char*>(text.data());
    std::size_t inLeft = text.size() * sizeof(char16_t);
    char* out = output.data();
    std::size_t outLeft = output.size();
    if (iconv(handle_, &in, &inLeft, &out, &outLeft) == static_cast<std::size_t>(-1)) return false;
    output.resize(output.size() - outLeft);
    return true;
  }

 private:
  // What iconv_open answers when it fails.
  static iconv_t failed() { return reinterpret_cast<iconv_t>(-1); }  // NOLINT(*-int-to-ptr)

  iconv_t handle_;
};

std::string homeFolder() {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody here changes the environment
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
  constexpr std::size_t kEntryBytes = 16384;
  std::vector<char> buffer(kEntryBytes);
  passwd entry{};
  passwd* found = nullptr;
  getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found);
  return found != nullptr ? found->pw_dir : "";
}

}  // namespace

std::string utf8FromUtf16le(std::u16string_view text) {
  constexpr std::size_t kMostBytesPerUnit = 3;
  const Converter converter("UTF-8", "UTF-16LE");
  std::string result(text.size() * kMostBytesPerUnit, '\0');
  if (!converter.valid() || !converter.convert(std::u16string(text), result)) return {};
  return result;
}

std::string expandTilde(const std::string& path) {
  if (path != "~" && !path.starts_with("~/")) return path;
  return homeFolder() + path.substr(1);
}

std::uint32_t tickCount() {
  constexpr std::int64_t kTicksPerSecond = 60;
  constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
  timespec time{};
  clock_gettime(CLOCK_BOOTTIME, &time);
  return static_cast<std::uint32_t>(time.tv_sec * kTicksPerSecond +
                                    time.tv_nsec * kTicksPerSecond / kNanosecondsPerSecond);
}

}  // namespace platform
