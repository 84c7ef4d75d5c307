// What the built-in functions take, read off their table.
#pragma once

#include <array>
#include <string_view>

#include "builtins/table.h"

namespace karst::cli::check {

struct Signature {
  std::string_view name;
  std::string_view kinds;  // as builtins/table.h tells
};

// The handlers are hidden in the library, so only names and kinds are taken, while compiling.
consteval std::array<Signature, kKernelFunctionCount> MakeSignatures() {
  std::array<Signature, kKernelFunctionCount> signatures{};
  for (size_t row = 0; row < signatures.size(); ++row) {
    signatures[row] = {kKernelFunctions[row].name, kKernelFunctions[row].kinds};
  }
  return signatures;
}
inline constexpr auto kSignatures = MakeSignatures();

// One argument that a built-in takes.
struct Parameter {
  bool text = false;
  bool integer = false;
  bool reference = false;
};

// The parameter at a place, counted from 0; nothing is asked of it where no kind stands there.
constexpr Parameter ParameterAt(std::string_view kinds, size_t place) {
  Parameter parameter;
  for (size_t i = 0; i < kinds.size() && place != static_cast<size_t>(-1); ++i) {
    if (kinds[i] == ',') --place;
    if (place != 0) continue;
    parameter.text = parameter.text || kinds[i] == 's';
    parameter.integer = parameter.integer || kinds[i] == 'i';
    parameter.reference = parameter.reference || kinds[i] == '&';
  }
  return parameter;
}

// How many arguments have a kind, those that may be left out among them.
constexpr size_t KnownArguments(std::string_view kinds) {
  size_t count = kinds.empty() ? 0 : 1;
  for (const char c : kinds) count += c == ',';
  return count;
}

constexpr bool TakesValues(std::string_view kinds) { return kinds.ends_with("..."); }

}  // namespace karst::cli::check
