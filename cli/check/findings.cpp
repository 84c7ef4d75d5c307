// Findings: keeping, sorting, and putting them into words.
#include "cli/check/findings.h"

#include <algorithm>

#include "cli/base/encoding.h"
#include "cli/base/gbk.h"

namespace karst::cli::check {
namespace {

// LIMIT: longer arguments are cut; a name or a literal can fill a screen.
constexpr size_t kMostArgument = 60;

std::string Shortened(std::string_view gbk) {
  size_t length = 0;
  while (length < gbk.size() && length < kMostArgument) length += CharacterLength(gbk.substr(length));
  std::string text = ToUtf8(gbk.substr(0, length));
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < ' ') c = ' ';  // a finding is one line
  }
  return length < gbk.size() ? text + "..." : text;
}

}  // namespace

void Findings::Add(Rule rule, size_t offset, std::initializer_list<std::string_view> arguments) {
  Add(rule, RuleOf(rule).severity, offset, arguments);
}

void Findings::Add(Rule rule, Severity severity, size_t offset, std::initializer_list<std::string_view> arguments) {
  has_errors_ = has_errors_ || severity == Severity::kError;
  if (findings_.size() > kMost) return;
  Finding finding{findings_.size() == kMost ? Rule::kMore : rule, severity, offset, {}};
  for (const std::string_view argument : arguments) finding.arguments.push_back(Shortened(argument));
  findings_.push_back(std::move(finding));
}

void Findings::AddUtf8(Rule rule, size_t offset, std::string_view argument) {
  const size_t before = findings_.size();
  Add(rule, offset);
  if (findings_.size() > before) findings_.back().arguments.emplace_back(argument);
}

std::vector<Finding> Findings::Sorted() const {
  std::vector<Finding> sorted = findings_;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const Finding& a, const Finding& b) { return a.offset < b.offset; });
  return sorted;
}

std::string TextOf(const Finding& finding, Language language) {
  const RuleText& rule = RuleOf(finding.rule);
  const std::string_view pattern = language == Language::kChinese ? rule.chinese : rule.english;
  std::string text;
  for (size_t i = 0; i < pattern.size(); ++i) {
    if (pattern[i] != '%' || i + 1 == pattern.size()) {
      text += pattern[i];
      continue;
    }
    const char mark = pattern[++i];
    const auto number = static_cast<size_t>(mark - '1');
    if (mark == '%') text += mark;
    if (number < finding.arguments.size()) text += finding.arguments[number];
  }
  return text;
}

std::string LineOf(const Finding& finding, Language language) {
  std::string line(NameOf(finding.severity, language));
  line += ": " + TextOf(finding, language) + " [";
  line += RuleOf(finding.rule).name;
  return line + "]";
}

}  // namespace karst::cli::check
