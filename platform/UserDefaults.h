// User defaults: settings that a user makes outside of the program.
//
// Looked up, in this order: a value set in this process; the environment variable
// MOVARA_DEFAULT_<key>; a line "key = value" of the defaults file, which is $MOVARA_DEFAULTS_FILE
// or movara/defaults below $XDG_CONFIG_HOME (else ~/.config). Environment and file are read once.
// [any-thread]
#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Export.h"

namespace platform {

class PLATFORM_API UserDefaults {
 public:
  static UserDefaults& standard();
  // Reads another file than the standard one; without environment override.
  explicit UserDefaults(const std::string& file);
  ~UserDefaults();
  UserDefaults(const UserDefaults&) = delete;
  UserDefaults& operator=(const UserDefaults&) = delete;

  // 0.0 when absent or not a number.
  float floatForKey(std::string_view key) const;
  // Empty when absent.
  std::string stringForKey(std::string_view key) const;
  void set(std::string_view key, std::string_view value);
  void remove(std::string_view key);

 private:
  friend class FloatDefault;
  UserDefaults();
  struct Impl;
  std::unique_ptr<Impl> impl_;
  std::atomic<unsigned> generation_{1};  // raised by every change
};

// One default of the standard defaults that is read so often that looking it up would show: a read
// costs one atomic load while nothing has changed.
class PLATFORM_API FloatDefault {
 public:
  explicit constexpr FloatDefault(const char* key) : key_(key) {}
  float value() const;  // [any-thread]

 private:
  const char* key_;
  mutable std::atomic<unsigned> generation_{0};
  mutable std::atomic<float> value_{0.0F};
};

}  // namespace platform
