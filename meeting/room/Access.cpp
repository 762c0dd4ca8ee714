#include "meeting/room/Access.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <system_error>
#include <utility>

namespace meeting {

namespace {

// Takes the same time wherever the texts differ, so that a token cannot be guessed bit by bit.
bool equalInConstantTime(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  unsigned difference = 0;
  for (std::size_t i = 0; i < a.size(); ++i)
    difference |=
        static_cast<unsigned>(static_cast<unsigned char>(a[i])) ^ static_cast<unsigned char>(b[i]);
  return difference == 0;
}

std::string lowered(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return lower;
}

std::string bracketed(const std::string& address) {
  return address.find(':') == std::string::npos ? address : '[' + address + ']';
}

// For an address that stands for all of the machine's: its name.
std::string hostFor(const std::string& address) {
  if (address != "0.0.0.0" && address != "::") return bracketed(address);
  std::array<char, 256> name{};
  const bool known = ::gethostname(name.data(), name.size() - 1) == 0 && name[0] != '\0';
  return known ? name.data() : "localhost";
}

}  // namespace

std::string randomToken() {
  std::array<unsigned char, 16> random{};
  if (::getentropy(random.data(), random.size()) != 0)
    throw std::system_error(errno, std::generic_category(), "no random numbers");
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string token;
  for (const unsigned char byte : random) {
    token += kDigits[byte >> 4U];
    token += kDigits[byte & 15U];
  }
  return token;
}

Access::Access(std::string address, bool loopback, std::uint16_t port, std::string token)
    : address_(std::move(address)), loopback_(loopback), port_(port), token_(std::move(token)) {}

std::optional<std::string_view> Access::pathOf(std::string_view target) const {
  target = target.substr(0, target.find('?'));
  if (!target.starts_with('/')) return std::nullopt;
  target.remove_prefix(1);
  if (token_.empty()) return target;
  const std::size_t end = target.find('/');
  if (end == std::string_view::npos || !equalInConstantTime(target.substr(0, end), token_))
    return std::nullopt;
  return target.substr(end + 1);
}

bool Access::isOurHost(std::string_view host) const {
  if (!loopback_) return true;
  const std::string port = ':' + std::to_string(port_);
  const std::array<std::string, 4> ours = {"localhost", "127.0.0.1", "[::1]", bracketed(address_)};
  return std::any_of(ours.begin(), ours.end(), [&](const std::string& name) {
    // Browsers leave out the port of plain HTTP.
    return lowered(host) == name + port || (port_ == 80 && lowered(host) == name);
  });
}

bool Access::isOurOrigin(std::optional<std::string_view> origin, std::string_view host) const {
  return isOurHost(host) && (!origin || lowered(*origin) == "http://" + lowered(host));
}

std::string Access::url() const {
  return "http://" + hostFor(address_) + ':' + std::to_string(port_) + '/' +
         (token_.empty() ? "" : token_ + '/');
}

}  // namespace meeting
