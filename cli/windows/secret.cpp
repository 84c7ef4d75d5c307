// Secrets, from getrandom.
#include "cli/windows/secret.h"

#include <sys/random.h>

#include <array>

#include "cli/base/exit_status.h"

namespace karst::cli {

std::string NewSecret() {
  constexpr char kDigits[] = "0123456789abcdef";
  std::array<unsigned char, kSecretDigits / 2> bytes;
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    throw HostError(kOutputFailed, "the system gives no random numbers");
  }
  std::string secret;
  for (const unsigned char byte : bytes) (secret += kDigits[byte >> 4]) += kDigits[byte & 15];
  return secret;
}

bool IsSameSecret(std::string_view secret, std::string_view offered) {
  if (secret.size() != offered.size()) return false;
  unsigned difference = 0;
  for (size_t i = 0; i < secret.size(); ++i) difference |= static_cast<unsigned char>(secret[i] ^ offered[i]);
  return difference == 0;
}

}  // namespace karst::cli
