// Secrets in addresses.
#pragma once

#include <string>
#include <string_view>

namespace karst::cli {

constexpr size_t kSecretDigits = 32;

// 128 bits from the system's generator, as lower-case hexadecimal digits. HostError if the system has none to give.
std::string NewSecret();
// Takes the same time wherever the two differ.
bool IsSameSecret(std::string_view secret, std::string_view offered);

}  // namespace karst::cli
