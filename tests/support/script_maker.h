// Makes scripts of all forms of statements, each run of which comes to an end: from the same seed always the same.
#pragma once

#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace karst::testing {

class ScriptMaker {
 public:
  explicit ScriptMaker(unsigned seed) : random_(seed) {}
  // The variables a, b and k are int, w is int64, s and t are string; the host has them before the run. k is only asked
  // for its truth.
  std::string Make() { return Written("@L@L@L@L@L@L@L@L", 0); }
  size_t Any(size_t count) { return random_() % count; }

 private:
  // "@L" stands for one of the forms of L, the first one where all is deep enough; "$" for a number of this form's own.
  std::string Written(std::string_view form, int depth) {
    const std::string number = std::to_string(form.find('$') == form.npos ? 0 : ++numbers_);
    std::string text;
    for (size_t i = 0; i < form.size(); ++i) {
      if (form[i] == '$') {
        text += number;
      } else if (form[i] == '@') {
        const std::vector<const char*>& forms = kForms.at(form[++i]);
        text += Written(forms[depth > 7 ? 0 : Any(forms.size())], depth + 1);
      } else {
        text += form[i] == '\n' ? "\r\n" : std::string(1, form[i]);
      }
    }
    return text;
  }

  static inline const std::map<char, std::vector<const char*>> kForms = {
      {'L',  // lines
       {"@S\n", "@S\n", "@S\n", "if k @S\n", "@S; @S # x\n", "@S @S\n", "\n \n@S\n", "@B", "@B", "@B", "@B",
        "if @D @S\n", "if @D @S @S\n@S\n", "if @D\n\n@S\n@S\n", "if @D @S\nelse @S\n", "if @D\n@S\nelse\n@S\n",
        "if @D goto l$\n@L:l$ @S\n"}},
      {'B',  // blocks, loops and jumps
       {"{\n@V@L}\n", "if @D {\n@L}\n", "if @D\n{\n@V@L@L}\n@L", "if @D\n{\n@V@L} @S\nelse\n{\n@L}\n",
        "if @D\n{\n@L}\nelse\n@S\n@S\n", "{\nint c$\nloop c$ < 3\nc$ = c$ + 1\n@L@Kendloop\n}\n",
        "{\nint c$\nloop c$ < 5 && @D\n@K{\n@V@L}\nc$ = c$ + 1\nendloop @S\n}\n",
        "{\nint c$\nloop @D || c$ < 2\nc$ = c$ + 1 if c$ > 2 break\n@Lendloop\n}\n",
        "{\nint c$\n:l$ @L c$ = c$ + 1\nif c$ < 4 goto l$\n}\n",
        "{\nint c$\n:l$\n{\n@L{\n@V c$ = c$ + 1\nif c$ < 4 goto l$\n}\n}\n}\n",
        "{\n{\n@V@L if @D goto l$\n@L}\n@L}\n:l$\n@L",
        "{\nint c$\nloop c$ < 6\nc$ = c$ + 1\n{\n@V if @D goto l$\n@L}\nendloop\n}\n:l$ @S\n"}},
      {'K', {"", "", "if @D break\n", "if @D\n{\n@L}\n", "if @D\nbreak; @S\n"}},
      {'V',
       {"", "", "int @I\n", "int @I = @E\n", "int64 a = @E\n", "string b = \"9\"\n", "string s\n", "int t\n",
        "int64 v$ = w\n"}},
      {'S',  // statements
       {"@I = @N", "@I = @E",   "@I = @E", "@I = @I",      "@I = @I + @N", "w = @E",     "w = @W",
        "s = @T",  "t = @Q",    "t = s",   "s << @T",      "t >> s",       "s = s + @Q", "t = t",
        "@C\n",    "@C junk\n", "@I = @F", "@I = @I + @F", "s = @F",       "@N @I = 1"}},
      {'C',
       {"printf(\"%d \", a)", "printf(\"%d %s;\", @E, t)", "sprintf(&t, \"%d\", @E)", "StrCat(&s, @Q)", "printf(@Q"}},
      {'F', {"printf(\"p\")", "StrLen(s)", "sprintf(&t, \"%s\", s)", "StrLen(t + @Q)"}},
      {'I', {"a", "a", "b"}},
      {'N', {"0", "1", "2", "7", "-1", "2147483647", "5000000000"}},
      {'W', {"w", "w + @I", "w * (@E)", "@I + w", "5000000000", "w + @F", "@I + (w + @F)"}},
      {'E',
       {"@I", "@N", "@I + @N", "@I + @E", "@E * @I", "(@E) - @I", "@E / @I", "@I % 3", "-@I", "@I ^ 2", "2 ^ @I",
        "@I + @F", "@F + @E", "@I * (@I - @F)", "@I + s", "@W"}},
      {'Q', {"\"x\"", "\"\"", "\"7\"", "\"a\\\"b\"", "\"\\r\\n\""}},
      {'T', {"@Q", "t", "t + @Q", "(t + @I)", "t + (@I + @F)", "(@Q + @F)", "t + w", "@I"}},
      {'D',  // conditions
       {"@I", "a < @N", "@I == @I", "@E < @I", "@I != @E", "!@I", "@D && @D", "@D || @D", "(@D)", "!(@D)", "s == t",
        "t", "s < @Q", "w < w", "@F == 1", "@I > @F"}},
  };

  std::mt19937 random_;
  int numbers_ = 0;
};

}  // namespace karst::testing
