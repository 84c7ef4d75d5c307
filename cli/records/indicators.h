// Which fields have indicators.
#pragma once

#include <cstddef>
#include <string_view>

namespace karst::cli {

constexpr size_t kIndicators = 2;

inline bool HasIndicators(std::string_view tag) { return !tag.starts_with("00") && !tag.starts_with("-0"); }

}  // namespace karst::cli
