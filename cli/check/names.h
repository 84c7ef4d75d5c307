// The names that a source declares, scope by scope, with what is known of their types.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "cli/check/lexer.h"
#include "marc/environment.h"

namespace karst::cli::check {

enum class Type : uint8_t { kUnknown, kInt, kInt64, kText };

// As a declaration spells it.
std::string_view NameOf(Type type);
// The type that a declaration's word stands for; unknown for other words.
Type TypeOfWord(int number);

enum class ScopeKind : uint8_t { kOutermost, kFrame, kPlain, kThen, kElse };

class Names {
 public:
  // What all of the source declares is noted first.
  explicit Names(const std::vector<Token>& tokens);

  void Open(ScopeKind kind, size_t token);
  void Open(std::span<const EnvironmentVariable> variables);
  void Close();
  size_t Depth() const { return scopes_.size() - 1; }
  ScopeKind InnermostKind() const { return scopes_.back().kind; }
  size_t InnermostToken() const { return scopes_.back().token; }

  // A declaration. `certain`: it is run whatever happens. True if a certain one stands in the same scope already.
  bool Declare(std::string_view name, Type type, bool certain);
  // A declaration that a condition may pass over: the name may stand for an outer variable still.
  void DeclarePerhaps(std::string_view name, Type type);
  // The type of a name that is declared here; nothing if it is not.
  std::optional<Type> Find(std::string_view name) const;
  // Whether anything in the source declares the name, or asks by IsVar whether it is there.
  bool DeclaredSomewhere(std::string_view name) const { return everywhere_.contains(name); }
  bool AskedFor(std::string_view name) const { return asked_for_.contains(name); }
  // The type that all declarations of the name agree on.
  Type CommonType(std::string_view name) const;

 private:
  struct Entry {
    Type type;
    size_t depth;
    bool certain;
  };
  struct Scope {
    ScopeKind kind;
    size_t token;
    std::vector<std::string_view> names;
  };

  std::vector<Scope> scopes_;
  std::unordered_map<std::string_view, std::vector<Entry>> entries_;
  std::unordered_map<std::string_view, Type> everywhere_;
  std::unordered_set<std::string_view> asked_for_;
};

}  // namespace karst::cli::check
