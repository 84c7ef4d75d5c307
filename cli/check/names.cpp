// Names, and the variables of the walk.
#include "cli/check/names.h"

#include <algorithm>

namespace karst::cli::check {
namespace environment {
namespace {

constexpr auto kInt = Type::kInt;
constexpr auto kText = Type::kText;
constexpr EnvironmentVariable kHost[] = {{"soutput", kText}, {"HyperFn", kText}};
constexpr EnvironmentVariable kRecord[] = {{"_RECORD", kText}, {"_RECORDCOUNT", kInt}};
constexpr EnvironmentVariable kMiddle[] = {{"_FIELDCOUNT", kInt}, {"_PREVFIELDNAME", kText}, {"_NEXTFIELDNAME", kText}};
constexpr EnvironmentVariable kField[] = {
    {"_FIELD", kText}, {"_INDICATOR", kText}, {"_FIELDNAME", kText}, {"_FIELDDUP", kInt}, {"_PREVSUBFIELDNAME", kText}};
constexpr EnvironmentVariable kGroup[] = {{"_GROUP", kText}, {"_GROUPCOUNT", kInt}, {"_GROUPDUP", kInt}};
constexpr EnvironmentVariable kSubField[] = {
    {"_SUBFIELDNAME", kText}, {"_SUBFIELD", kText}, {"_SUBFIELDDUP", kInt}, {"_SUBFIELDCOUNT", kInt}};

}  // namespace

std::span<const EnvironmentVariable> Host() { return kHost; }
std::span<const EnvironmentVariable> Record() { return kRecord; }
std::span<const EnvironmentVariable> Middle() { return kMiddle; }
std::span<const EnvironmentVariable> Field() { return kField; }
std::span<const EnvironmentVariable> Group() { return kGroup; }
std::span<const EnvironmentVariable> SubField() { return kSubField; }

bool Knows(std::string_view name) {
  for (const auto level : {Record(), Middle(), Field(), Group(), SubField()}) {
    if (std::any_of(level.begin(), level.end(), [name](const auto& variable) { return variable.name == name; })) {
      return true;
    }
  }
  return false;
}

}  // namespace environment

std::string_view NameOf(Type type) {
  switch (type) {
    case Type::kInt: return "int";
    case Type::kInt64: return "int64";
    case Type::kText: return "string";
    case Type::kUnknown: break;
  }
  return "?";
}

Type TypeOfWord(int number) {
  switch (number) {
    case kTokInt: return Type::kInt;
    case kTokInt64: return Type::kInt64;
    case kTokString: return Type::kText;
    default: return Type::kUnknown;
  }
}

std::string_view Significant(std::string_view name) {
  constexpr size_t kSignificant = 29;
  return name.substr(0, kSignificant);
}

Names::Names(const std::vector<Token>& tokens) : scopes_{{ScopeKind::kOutermost, 0, {}}} {
  for (size_t i = 0; i + 1 < tokens.size(); ++i) {
    const Type type = TypeOfWord(tokens[i].number);
    if (type != Type::kUnknown && tokens[i + 1].cls == VARIABLE) {
      const auto [entry, fresh] = everywhere_.try_emplace(Significant(tokens[i + 1].text), type);
      if (!fresh && entry->second != type) entry->second = Type::kUnknown;
    }
    const bool asks = tokens[i].cls == VARIABLE && i + 2 < tokens.size() && tokens[i + 1].IsDelimiter('(') &&
                      tokens[i + 2].cls == STRING && InSmallLetters(tokens[i].text) == "isvar";
    if (asks) asked_for_.insert(Significant(tokens[i + 2].text));
  }
}

void Names::Open(ScopeKind kind, size_t token) { scopes_.push_back({kind, token, {}}); }

void Names::Open(std::span<const EnvironmentVariable> variables) {
  Open(ScopeKind::kFrame, 0);
  for (const EnvironmentVariable& variable : variables) Declare(variable.name, variable.type, false);
}

void Names::Close() {
  for (const std::string_view name : scopes_.back().names) entries_[name].pop_back();
  scopes_.pop_back();
}

void Names::DeclarePerhaps(std::string_view name, Type type) {
  const auto outer = Find(name);
  Declare(name, outer && *outer != type ? Type::kUnknown : type, false);
}

bool Names::Declare(std::string_view name, Type type, bool certain) {
  std::vector<Entry>& entries = entries_[Significant(name)];
  const bool again = !entries.empty() && entries.back().depth == Depth();
  if (!again) {
    entries.push_back({type, Depth(), certain});
    scopes_.back().names.push_back(Significant(name));
    return false;
  }
  const bool twice = entries.back().certain && certain;
  if (entries.back().type != type) entries.back().type = Type::kUnknown;
  entries.back().certain = entries.back().certain || certain;
  return twice;
}

std::optional<Type> Names::Find(std::string_view name) const {
  const auto found = entries_.find(Significant(name));
  if (found == entries_.end() || found->second.empty()) return std::nullopt;
  return found->second.back().type;
}

Type Names::CommonType(std::string_view name) const {
  const auto found = everywhere_.find(Significant(name));
  return found == everywhere_.end() ? Type::kUnknown : found->second;
}

}  // namespace karst::cli::check
