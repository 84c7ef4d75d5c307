// The options of a verb as its file declares them: what may be typed, and what the help shows of it.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

namespace karst::cli {

// Each operation adds one option. `names` are as in "-q,--quiet"; the value outlives the parsing, and keeps what it was
// where the option is not given. The help shows the options in the order in which they were added.
class OptionList {
 public:
  // What is wrong with a text; empty if nothing is.
  using Check = std::function<std::string(const std::string&)>;
  enum class Letters { kAsGiven, kAnyCase };
  enum class Need { kOptional, kRequired };

  explicit OptionList(CLI::App& app) : app_(app) {}

  // A word without a name, which must be there; or several, from one to `most` (0: any number).
  void Word(const char* name, const char* help, std::string& value);
  void Words(const char* name, const char* help, std::vector<std::string>& values, int most = 0);
  void Flag(const char* names, const char* help, bool& value);
  // `shown` stands for the value in the help.
  void Text(const char* names, const char* help, const char* shown, std::string& value, const Check& check = {});
  // May be given several times.
  void Texts(const char* names, const char* help, const char* shown, std::vector<std::string>& values,
             const Check& check = {});
  // A number from 1.
  void Number(const char* names, const char* help, uint64_t& value, Need need = Need::kOptional);

  // One of some words in small letters, which the help shows in this order. `value_name` stands for it in the message
  // that it is missing.
  template <class Value>
  using Choices = std::vector<std::pair<std::string, Value>>;
  template <class Value>
  void Choice(const char* names, const char* help, const Choices<Value>& choices, Value& value,
              Letters letters = Letters::kAsGiven, const char* value_name = nullptr) {
    std::vector<std::string> words;
    for (const auto& choice : choices) words.push_back(choice.first);
    AddChoice(
        names, help, words, letters, [choices, &value](size_t chosen) { value = choices[chosen].second; }, value_name);
  }

 private:
  void AddChoice(const char* names, const char* help, const std::vector<std::string>& words, Letters letters,
                 const std::function<void(size_t)>& take, const char* value_name);

  CLI::App& app_;
};

}  // namespace karst::cli
