// User defaults: settings that a user makes outside of the program.
//
// Looked up, in this order: a value set in this process; the environment variable
// MOVARA_DEFAULT_<key>; a line "key = value" of the defaults file, which is $MOVARA_DEFAULTS_FILE
// or movara/defaults below $XDG_CONFIG_HOME (else ~/.config). Environment and file are read once.
// In the file, blanks around key and value do not count, the last line of a key does, and lines
// that begin with '#' are comments. [any-thread]
#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
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
};

// One default of the standard defaults that is read so often that looking it up would show: after
// the first read, which looks it up, a read costs one atomic load. Changes come to it by
// themselves.
class PLATFORM_API FloatDefault {
 public:
  explicit constexpr FloatDefault(const char* key) : key_(key) {}
  ~FloatDefault();
  FloatDefault(const FloatDefault&) = delete;
  FloatDefault& operator=(const FloatDefault&) = delete;

  float value() const {  // [any-thread]
    const std::uint64_t state = state_.load(std::memory_order_relaxed);
    return (state & kKnown) != 0 ? std::bit_cast<float>(static_cast<std::uint32_t>(state))
                                 : follow();
  }

 private:
  friend class UserDefaults;
  static constexpr std::uint64_t kKnown = std::uint64_t{1} << 32;

  float follow() const;
  void store(float value) const {
    state_.store(kKnown | std::bit_cast<std::uint32_t>(value), std::memory_order_relaxed);
  }

  const char* key_;
  mutable std::atomic<std::uint64_t> state_{0};  // kKnown and, below it, the value's bits
};

}  // namespace platform
