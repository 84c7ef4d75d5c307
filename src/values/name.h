// NameBuffer: a name as statements and expressions keep it.
#pragma once

#include <cstring>
#include <string_view>

namespace karst {

// LIMIT: a name is significant to 29 bytes; the excess is cut, where it is declared and where it is used alike.
constexpr size_t kSignificantName = 29;

inline std::string_view SignificantName(std::string_view name) { return name.substr(0, kSignificantName); }

struct NameBuffer {
  explicit NameBuffer(const char* name) {
    const std::string_view kept = SignificantName(name);
    std::memcpy(text, kept.data(), kept.size());
    text[kept.size()] = 0;
  }

  char text[kSignificantName + 1];
};

}  // namespace karst
