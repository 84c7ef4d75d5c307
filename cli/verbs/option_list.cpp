// OptionList, on the command line library.
#include "cli/verbs/option_list.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <charconv>

#include "cli/base/ascii.h"

namespace karst::cli {
namespace {

CLI::Option& Checked(CLI::Option* option, const OptionList::Check& check) {
  return check ? *option->check(CLI::Validator(check, "")) : *option;
}

std::string FaultOfNumber(const std::string& text) {
  uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool good = error == std::errc() && end == text.data() + text.size() && number > 0;
  return good ? "" : text + " is no number from 1";
}

}  // namespace

void OptionList::Word(const char* name, const char* help, std::string& value) {
  app_.add_option(name, value, help)->required()->option_text(" ");
}

void OptionList::Words(const char* name, const char* help, std::vector<std::string>& values, int most) {
  CLI::Option& option = *app_.add_option(name, values, help)->required()->option_text(" ");
  if (most > 0) option.expected(1, most);
}

void OptionList::Flag(const char* names, const char* help, bool& value) { app_.add_flag(names, value, help); }

void OptionList::Text(const char* names, const char* help, const char* shown, std::string& value, const Check& check) {
  Checked(app_.add_option(names, value, help), check).option_text(shown);
}

void OptionList::Texts(const char* names, const char* help, const char* shown, std::vector<std::string>& values,
                       const Check& check) {
  Checked(app_.add_option(names, values, help), check).option_text(shown)->allow_extra_args(false);
}

void OptionList::Number(const char* names, const char* help, uint64_t& value, Need need) {
  app_.add_option(names, value, help)
      ->check(CLI::Validator(FaultOfNumber, ""))
      ->option_text("N")
      ->required(need == Need::kRequired);
}

void OptionList::AddChoice(const char* names, const char* help, const std::vector<std::string>& words, Letters letters,
                           const std::function<void(size_t)>& take, const char* value_name) {
  std::string shown;
  for (const std::string& word : words) shown += (shown.empty() ? "" : "|") + word;
  // Only one of the words comes through the check.
  const auto find = [words, letters, take](const std::string& typed) {
    const std::string word = letters == Letters::kAnyCase ? LoweredAscii(typed) : typed;
    take(static_cast<size_t>(std::find(words.begin(), words.end(), word) - words.begin()));
  };
  CLI::Option& option = *app_.add_option_function<std::string>(names, find, help);
  option.check(letters == Letters::kAnyCase ? CLI::IsMember(words, CLI::ignore_case) : CLI::IsMember(words));
  option.option_text(shown);
  if (value_name) option.type_name(value_name);
}

}  // namespace karst::cli
