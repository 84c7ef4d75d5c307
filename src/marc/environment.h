// The environment variables: what the walk over a record makes for a filter's code, level by level. The walk makes them
// by these tables, and the checker knows them by these tables.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "values/value.h"

namespace karst {

enum class Environment : uint8_t {
  kRecord,
  kRecordCount,
  kFieldCount,
  kPrevFieldName,
  kNextFieldName,
  kField,
  kIndicator,
  kFieldName,
  kFieldDup,
  kPrevSubFieldName,
  kGroup,
  kGroupCount,
  kGroupDup,
  kSubFieldName,
  kSubField,
  kSubFieldDup,
  kSubFieldCount,
};
inline constexpr size_t kEnvironmentSize = static_cast<size_t>(Environment::kSubFieldCount) + 1;

struct EnvironmentVariable {
  Environment variable;
  std::string_view name;
  ValueType type;
};

enum class EnvironmentLevel : uint8_t { kRecord, kMiddle, kField, kGroup, kSubField };

namespace environment {

// Each in the order in which the level's frame holds them, which is that of a dump.
inline constexpr EnvironmentVariable kRecordRows[] = {
    {Environment::kRecord, "_RECORD", kText},
    {Environment::kRecordCount, "_RECORDCOUNT", kInt},
};
inline constexpr EnvironmentVariable kMiddleRows[] = {
    {Environment::kFieldCount, "_FIELDCOUNT", kInt},
    {Environment::kPrevFieldName, "_PREVFIELDNAME", kText},
    {Environment::kNextFieldName, "_NEXTFIELDNAME", kText},
};
// The first three texts are those that RecordWalk::OpenFieldFrame is given.
inline constexpr EnvironmentVariable kFieldRows[] = {
    {Environment::kField, "_FIELD", kText},
    {Environment::kIndicator, "_INDICATOR", kText},
    {Environment::kFieldName, "_FIELDNAME", kText},
    {Environment::kFieldDup, "_FIELDDUP", kInt},
    {Environment::kPrevSubFieldName, "_PREVSUBFIELDNAME", kText},
};
inline constexpr EnvironmentVariable kGroupRows[] = {
    {Environment::kGroup, "_GROUP", kText},
    {Environment::kGroupCount, "_GROUPCOUNT", kInt},
    {Environment::kGroupDup, "_GROUPDUP", kInt},
};
inline constexpr EnvironmentVariable kSubFieldRows[] = {
    {Environment::kSubFieldName, "_SUBFIELDNAME", kText},
    {Environment::kSubField, "_SUBFIELD", kText},
    {Environment::kSubFieldDup, "_SUBFIELDDUP", kInt},
    {Environment::kSubFieldCount, "_SUBFIELDCOUNT", kInt},
};

inline constexpr std::span<const EnvironmentVariable> kLevels[] = {kRecordRows, kMiddleRows, kFieldRows, kGroupRows,
                                                                   kSubFieldRows};

}  // namespace environment

constexpr std::span<const EnvironmentVariable> VariablesOf(EnvironmentLevel level) {
  return environment::kLevels[static_cast<size_t>(level)];
}

constexpr ValueType TypeOf(Environment wanted) {
  for (const auto level : environment::kLevels) {
    for (const EnvironmentVariable& variable : level) {
      if (variable.variable == wanted) return variable.type;
    }
  }
  return kNoValue;
}

constexpr bool EveryVariableHasARow() {
  for (size_t i = 0; i < kEnvironmentSize; ++i) {
    if (TypeOf(static_cast<Environment>(i)) == kNoValue) return false;
  }
  return true;
}
static_assert(EveryVariableHasARow());

constexpr bool IsEnvironmentVariable(std::string_view name) {
  for (const auto level : environment::kLevels) {
    for (const EnvironmentVariable& variable : level) {
      if (variable.name == name) return true;
    }
  }
  return false;
}

}  // namespace karst
