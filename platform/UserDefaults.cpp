#include "platform/UserDefaults.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <utility>
#include <vector>

#include "platform/Mutex.h"
#include "platform/Text.h"
#include "platform/Value.h"

namespace platform {

namespace {

using Settings = std::map<std::string, std::string, std::less<>>;

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Lines "key = value"; blank lines, lines that begin with '#' and lines without a key are passed
// over. Of a key's lines the last counts.
Settings readFile(const std::string& path) {
  Settings settings;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    const std::string_view text = trimmed(line);
    const std::size_t equals = text.find('=');
    if (text.starts_with('#') || equals == std::string_view::npos) continue;
    const std::string_view key = trimmed(text.substr(0, equals));
    if (!key.empty()) settings.insert_or_assign(std::string(key), trimmed(text.substr(equals + 1)));
  }
  return settings;
}

Settings readEnvironment() {
  constexpr std::string_view kPrefix = "MOVARA_DEFAULT_";
  Settings settings;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    const std::string_view text(*variable);
    const std::size_t equals = text.find('=');
    if (!text.starts_with(kPrefix) || equals == std::string_view::npos) continue;
    settings.emplace(text.substr(kPrefix.size(), equals - kPrefix.size()), text.substr(equals + 1));
  }
  return settings;
}

std::string environmentVariable(const char* name) {
  const char* const value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nobody changes it
  return value != nullptr ? value : "";
}

std::string standardFile() {
  if (std::string file = environmentVariable("MOVARA_DEFAULTS_FILE"); !file.empty()) return file;
  std::string folder = environmentVariable("XDG_CONFIG_HOME");
  if (folder.empty()) folder = expandTilde("~/.config");
  return folder + "/movara/defaults";
}

}  // namespace

struct UserDefaults::Impl {
  // Higher up counts first.
  Settings inProcess GUARDED_BY(mutex);
  const Settings environment;
  const Settings file;
  Mutex mutex;
  std::vector<FloatDefault*> followers GUARDED_BY(mutex);

  std::string find(std::string_view key) const REQUIRES(mutex) {
    for (const Settings* settings : {&std::as_const(inProcess), &environment, &file}) {
      if (const auto found = settings->find(key); found != settings->end()) return found->second;
    }
    return {};
  }
  float findFloat(std::string_view key) const REQUIRES(mutex) {
    return Value(find(key)).floatValue();
  }
  void tellFollowers(std::string_view key) const REQUIRES(mutex) {
    for (FloatDefault* follower : followers) {
      if (follower->key_ == key) follower->store(findFloat(key));
    }
  }
};

UserDefaults& UserDefaults::standard() {
  // Never destroyed: defaults of other binaries leave it when those end.
  static auto* const defaults = new UserDefaults;
  return *defaults;
}

UserDefaults::UserDefaults()
    : impl_(new Impl{.inProcess = {},
                     .environment = readEnvironment(),
                     .file = readFile(standardFile()),
                     .mutex = {},
                     .followers = {}}) {}

UserDefaults::UserDefaults(const std::string& file)
    : impl_(new Impl{.inProcess = {},
                     .environment = {},
                     .file = readFile(file),
                     .mutex = {},
                     .followers = {}}) {}

UserDefaults::~UserDefaults() = default;

float UserDefaults::floatForKey(std::string_view key) const {
  const Lock lock(impl_->mutex);
  return impl_->findFloat(key);
}

std::string UserDefaults::stringForKey(std::string_view key) const {
  const Lock lock(impl_->mutex);
  return impl_->find(key);
}

void UserDefaults::set(std::string_view key, std::string_view value) {
  const Lock lock(impl_->mutex);
  impl_->inProcess.insert_or_assign(std::string(key), std::string(value));
  impl_->tellFollowers(key);
}

void UserDefaults::remove(std::string_view key) {
  const Lock lock(impl_->mutex);
  if (const auto found = impl_->inProcess.find(key); found != impl_->inProcess.end()) {
    impl_->inProcess.erase(found);
  }
  impl_->tellFollowers(key);
}

FloatDefault::~FloatDefault() {
  if ((state_.load(std::memory_order_relaxed) & kKnown) == 0) return;
  UserDefaults::Impl& defaults = *UserDefaults::standard().impl_;
  const Lock lock(defaults.mutex);
  std::erase(defaults.followers, this);
}

float FloatDefault::follow() const {
  UserDefaults::Impl& defaults = *UserDefaults::standard().impl_;
  const Lock lock(defaults.mutex);
  auto* const self = const_cast<FloatDefault*>(this);  // NOLINT(*-const-cast)
  if (std::find(defaults.followers.begin(), defaults.followers.end(), self) ==
      defaults.followers.end()) {
    defaults.followers.push_back(self);
  }
  const float value = defaults.findFloat(key_);
  store(value);
  return value;
}

}  // namespace platform
