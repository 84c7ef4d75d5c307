// What checking a source comes to: findings, each a rule that the source breaks and a place in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "cli/check/rules.h"

namespace karst::cli::check {

struct Finding {
  Rule rule;
  Severity severity;
  size_t offset;                       // in the checked text
  std::vector<std::string> arguments;  // UTF-8, for the places %1, %2 of the rule's text
};

class Findings {
 public:
  // LIMIT: so many are kept; the rest is told by one last finding.
  static constexpr size_t kMost = 1000;

  // Adds a finding of the rule's own severity. Arguments are GBK, as the source is.
  void Add(Rule rule, size_t offset, std::initializer_list<std::string_view> arguments = {});
  void Add(Rule rule, Severity severity, size_t offset, std::initializer_list<std::string_view> arguments = {});

  // The same with one argument that is UTF-8.
  void AddUtf8(Rule rule, size_t offset, std::string_view argument);

  bool HasErrors() const { return has_errors_; }
  // By place; what was found at one place stays in the order in which it was found.
  std::vector<Finding> Sorted() const;

 private:
  std::vector<Finding> findings_;
  bool has_errors_ = false;
};

// The finding's text, its arguments in place. UTF-8.
std::string TextOf(const Finding& finding, Language language);

// What stands behind the place: "severity: text [rule]". UTF-8.
std::string LineOf(const Finding& finding, Language language);

}  // namespace karst::cli::check
