// Names, and the types that declarations give them.
#include "cli/check/names.h"

#include "cli/base/ascii.h"
#include "values/name.h"

namespace karst::cli::check {

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

Names::Names(const std::vector<Token>& tokens) : scopes_{{ScopeKind::kOutermost, 0, {}}} {
  for (size_t i = 0; i + 1 < tokens.size(); ++i) {
    const Type type = TypeOfWord(tokens[i].number);
    if (type != Type::kUnknown && tokens[i + 1].cls == VARIABLE) {
      const auto [entry, fresh] = everywhere_.try_emplace(SignificantName(tokens[i + 1].text), type);
      if (!fresh && entry->second != type) entry->second = Type::kUnknown;
    }
    const bool asks = tokens[i].cls == VARIABLE && i + 2 < tokens.size() && tokens[i + 1].IsDelimiter('(') &&
                      tokens[i + 2].cls == STRING && LoweredAscii(tokens[i].text) == "isvar";
    if (asks) asked_for_.insert(SignificantName(tokens[i + 2].text));
  }
}

void Names::Open(ScopeKind kind, size_t token) { scopes_.push_back({kind, token, {}}); }

void Names::Open(std::span<const EnvironmentVariable> variables) {
  Open(ScopeKind::kFrame, 0);
  for (const auto& [variable, name, type] : variables) Declare(name, type == kInt ? Type::kInt : Type::kText, false);
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
  std::vector<Entry>& entries = entries_[SignificantName(name)];
  const bool again = !entries.empty() && entries.back().depth == Depth();
  if (!again) {
    entries.push_back({type, Depth(), certain});
    scopes_.back().names.push_back(SignificantName(name));
    return false;
  }
  const bool twice = entries.back().certain && certain;
  if (entries.back().type != type) entries.back().type = Type::kUnknown;
  entries.back().certain = entries.back().certain || certain;
  return twice;
}

std::optional<Type> Names::Find(std::string_view name) const {
  const auto found = entries_.find(SignificantName(name));
  if (found == entries_.end() || found->second.empty()) return std::nullopt;
  return found->second.back().type;
}

Type Names::CommonType(std::string_view name) const {
  const auto found = everywhere_.find(SignificantName(name));
  return found == everywhere_.end() ? Type::kUnknown : found->second;
}

}  // namespace karst::cli::check
