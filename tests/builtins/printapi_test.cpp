// The format built-ins: counts, sinks, and what each does when format and values do not match.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "support/builtin_call.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

class FormatBuiltins : public ::testing::Test {
 protected:
  FormatBuiltins() { caller.Declare("out", "old"); }

  // The arguments of a call with `count` of them, of which the given ones are the first.
  static std::vector<Argument> Filled(std::vector<Argument> arguments, size_t count, const Argument& value) {
    arguments.resize(count, value);
    return arguments;
  }

  TempFolder folder;
  BuiltinCaller caller;
};

TEST_F(FormatBuiltins, TheCountIsCheckedFirst) {
  const struct {
    const char* name;
    std::string title;
    size_t least;
  } cases[] = {{"printf", " printf", 1},
               {"fprintf", "fprintf()", 2},
               {"sprintf", "sprintf()", 2},
               {"fnprintf", "fnprintf()", 2},
               {"bmprintf", "bmprintf()", 3}};
  for (const auto& c : cases) {
    EXPECT_EQ(caller.Refusal(c.name, Filled({}, c.least - 1, 5)),
              c.title + "函数 参数数目至少应该为" + std::to_string(c.least) + "个...");
    EXPECT_EQ(caller.Refusal(c.name, Filled({}, 50, 5)), c.title + "函数参数太多, 超过50个...");
  }
}

TEST_F(FormatBuiltins, FortyNineArgumentsRunOnEverySink) {
  std::string format;
  for (int i = 0; i < 46; ++i) format += "%d";
  const std::string sevens(46, '7');
  caller.Output();
  EXPECT_EQ(caller.Call("printf", Filled({format}, 49, 7)), 46);
  EXPECT_EQ(caller.Output(), sevens.c_str());
  EXPECT_EQ(caller.Call("sprintf", Filled({Ref{"out"}, format}, 49, 7)), 46);
  EXPECT_EQ(caller.Text("out"), sevens);
  EXPECT_EQ(caller.Call("fnprintf", Filled({"a", format}, 49, 7)), 46);
  EXPECT_EQ(caller.Call("bmprintf", Filled({"b", "", format}, 49, 7)), 46);
  const int32_t file = caller.Call("Open", {"c", "wc"});
  EXPECT_EQ(caller.Call("fprintf", Filled({file, format}, 49, 7)), 46);
  for (const char* name : {"a", "b", "c"}) EXPECT_EQ(FileBytes(name), sevens) << name;
}

TEST_F(FormatBuiltins, MoreThanFiftyWordsAreRefusedAsAFormatFailure) {
  const int64_t large = int64_t{1} << 33;
  EXPECT_EQ(caller.Call("sprintf", Filled({Ref{"out"}, "%I64d"}, 27, large)), 10) << "25 int64 values are 50 words";
  EXPECT_EQ(caller.Text("out"), "8589934592");
  EXPECT_EQ(caller.Refusal("sprintf", Filled({Ref{"out"}, "%I64d"}, 28, large)), "?printf()函数参数错误...");
  EXPECT_EQ(caller.Refusal("sprintf", Filled({Ref{"out"}, "x"}, 49, large)), "?printf()函数参数错误...");
  EXPECT_EQ(caller.Call("bmprintf", Filled({"b", "", "x"}, 49, large)), -1);
  EXPECT_EQ(caller.Text("out"), "8589934592");
}

TEST_F(FormatBuiltins, AFormatThatDoesNotMatchItsValues) {
  const int32_t file = caller.Call("Open", {"f", "wc"});
  caller.self.m_hStdOut = -1;
  for (const std::vector<Argument>& values : {std::vector<Argument>{"%s", 1}, {"%d"}, {"%d", "1"}, {"%I64d", 1}}) {
    const auto with = [&](std::vector<Argument> leading) {
      leading.insert(leading.end(), values.begin(), values.end());
      return leading;
    };
    EXPECT_EQ(caller.Refusal("printf", with({})), "?printf()函数参数错误...");
    EXPECT_EQ(caller.Refusal("fprintf", with({file})), "?printf()函数参数错误...");
    EXPECT_EQ(caller.Refusal("sprintf", with({Ref{"out"}})), "?printf()函数参数错误...");
    EXPECT_EQ(caller.Refusal("fnprintf", with({"g"})), "?printf()函数参数错误!...");
    EXPECT_EQ(caller.Call("bmprintf", with({"h", ""})), -1);
    EXPECT_EQ(caller.Call("fnprintf", with({"stdout"})), -1) << "nothing serves the name: the format is not looked at";
    EXPECT_EQ(caller.Call("fnprintf", with({"no/such/folder"})), -1);
  }
  EXPECT_EQ(FileBytes("f"), "");
  EXPECT_EQ(FileBytes("g"), "");
  EXPECT_EQ(FileBytes("h"), "");
  EXPECT_EQ(caller.Text("out"), "old");
}

TEST_F(FormatBuiltins, PrintfShowsTextAsText) {
  EXPECT_EQ(caller.Call("printf", {"%s", "nowhere"}), 7) << "the length counts without a control too";
  caller.Output();
  const struct {
    std::vector<Argument> arguments;
    const char* shown;
  } cases[] = {{{"plain"}, "plain"},
               {{""}, ""},
               {{"100%%"}, "100%"},
               {{"%s", "5%d of %s"}, "5%d of %s"},
               {{"%s=%d\r\n", "汉字", 3}, "汉字=3\r\n"}};
  std::string all;
  for (const auto& c : cases) {
    EXPECT_EQ(caller.Call("printf", c.arguments), static_cast<int>(std::strlen(c.shown)));
    EXPECT_EQ(caller.Output(), (all += c.shown).c_str());
  }
}

TEST_F(FormatBuiltins, PrintfTellsTheWholeLengthOfATextThatTheOutputCuts) {
  caller.Output();
  EXPECT_EQ(caller.Call("printf", {"%s", std::string(1024, 'a')}), 1024);
  EXPECT_EQ(caller.Output().GetLength(), 1024);
  EXPECT_EQ(caller.Call("printf", {"%s|", std::string(1024, 'b')}), 1025);
  EXPECT_EQ(caller.Output(), (std::string(1024, 'a') + std::string(1024, 'b')).c_str());
}

TEST_F(FormatBuiltins, SprintfMayReadTheVariableThatItWrites) {
  caller.Declare("n", int64_t{0x0000'0002'0000'0003});
  EXPECT_EQ(caller.Call("sprintf", {Ref{"out"}, "<%s|%s>", Ref{"out"}, Ref{"out"}}), 9);
  EXPECT_EQ(caller.Text("out"), "<old|old>");
  EXPECT_EQ(caller.Call("sprintf", {Ref{"out"}, Ref{"out"}}), 9);
  EXPECT_EQ(caller.Call("sprintf", {Ref{"out"}, "%d %d", Ref{"n"}}), 3) << "an int64 is two words, the low one first";
  EXPECT_EQ(caller.Text("out"), "3 2");
  EXPECT_EQ(caller.Call("sprintf", {Ref{"out"}, "", 1, "spare"}), 0);
  EXPECT_EQ(caller.Text("out"), "");
}

TEST_F(FormatBuiltins, ANulEndsATextButNotAFile) {
  caller.Output();
  EXPECT_EQ(caller.Call("sprintf", {Ref{"out"}, "a%cb", 0}), 1);
  EXPECT_EQ(caller.Text("out"), "a");
  EXPECT_EQ(caller.Call("printf", {"a%cb", 0}), 1);
  EXPECT_EQ(caller.Output(), "a");
  EXPECT_EQ(caller.Call("fnprintf", {"f", "a%cb", 0}), 3);
  EXPECT_EQ(FileBytes("f"), std::string("a\0b", 3));
}

TEST_F(FormatBuiltins, ALongTextLeavesNoTraceInTheNext) {
  const std::string large(1'000'000, 'x');
  EXPECT_EQ(caller.Call("sprintf", {Ref{"out"}, "%s%s", large, large}), 2'000'000);
  EXPECT_EQ(caller.Text("out"), large + large);
  EXPECT_EQ(caller.Call("sprintf", {Ref{"out"}, "%s", "y"}), 1);
  EXPECT_EQ(caller.Text("out"), "y");
}

TEST_F(FormatBuiltins, FprintfTakesAnyCellForItsHandle) {
  const int32_t file = caller.Call("Open", {"f", "wc"});
  EXPECT_EQ(caller.Call("fprintf", {file, "%s", "one"}), 3);
  EXPECT_EQ(caller.Call("fprintf", {(int64_t{5} << 32) | file, " two"}), 4) << "the low 32 bits are the handle";
  EXPECT_EQ(caller.Call("fprintf", {file, ""}), 0);
  // The cell of this text is one that held the handle as an int64 before.
  caller.Call("fprintf", {int64_t{file}, ""});
  for (const Argument& bad : {Argument("text"), Argument(0), Argument(-1), Argument(file + 1)}) {
    EXPECT_EQ(caller.Call("fprintf", {bad, "lost"}), -1);
  }
  EXPECT_EQ(caller.Call("Close", {file}), 0);
  EXPECT_EQ(caller.Call("fprintf", {file, "late"}), -1);
  EXPECT_EQ(FileBytes("f"), "one two");
}

TEST_F(FormatBuiltins, FnprintfAppendsThroughOneOpenFile) {
  MakeFile("f", "there ");
  EXPECT_EQ(caller.Call("fnprintf", {"f", "%d%%\r\n", 5}), 4);
  EXPECT_EQ(caller.Call("FnCat", {"f", "100%"}), 4) << "no format is involved";
  EXPECT_EQ(caller.self.m_mapCatchedFile.size(), 1u);
  EXPECT_EQ(FileBytes("f"), "there 5%\r\n100%");
}

TEST_F(FormatBuiltins, BmprintfConvertsAndAppends) {
  MakeFile("f", "at ");
  EXPECT_EQ(caller.Call("bmprintf", {"f", "", "%s", "汉"}), 2);
  EXPECT_EQ(caller.Call("bmprintf", {"f", "UTF-8", "%s%d", "汉", 1}), 4);
  EXPECT_EQ(FileBytes("f"),
            "at \xBA\xBA\xE6\xB1\x89"
            "1");
  EXPECT_EQ(caller.Call("bmprintf", {"new", "utf-8", ""}), 0);
  EXPECT_EQ(FileBytes("new"), "");
  EXPECT_EQ(caller.Call("bmprintf", {"no/such/folder", "utf-8", "x"}), -1);
  EXPECT_TRUE(caller.self.m_mapCatchedFile.empty());
}

TEST_F(FormatBuiltins, BmprintfTakesALargerBufferOnceAndThenGivesUp) {
  std::vector<std::string> shown;
  SetMessageBoxHandler([&](HWND, const char* text, const char*, unsigned) {
    shown.emplace_back(text);
    return 1;
  });
  for (const int length : {3999, 4000, 4001, 59999, 60000}) {
    std::filesystem::remove("f");
    EXPECT_EQ(caller.Call("bmprintf", {"f", "", "%s", std::string(length, 'x')}), length);
    EXPECT_EQ(FileBytes("f"), std::string(length, 'x'));
  }
  EXPECT_TRUE(shown.empty());
  EXPECT_EQ(caller.Call("bmprintf", {"f", "", "%s", std::string(60001, 'y')}), -1);
  SetMessageBoxHandler({});
  EXPECT_EQ(shown, std::vector<std::string>{"bmprintf()缓冲区太小..."});
  EXPECT_EQ(FileBytes("f"), std::string(60000, 'x')) << "a refused text leaves the file as it was";
}

TEST_F(FormatBuiltins, BmprintfSharesItsFileWithNobody) {
  std::vector<std::pair<std::string, int>> failures;
  caller.self.OnNamedOutputFailure([&](std::string_view file, int error) { failures.emplace_back(file, error); });
  const auto write = [&](const char* name) { return caller.Call("bmprintf", {name, "", "x"}); };
  EXPECT_EQ(write("f"), 1);
  std::filesystem::create_hard_link("f", "same");
  for (const char* mode : {"r", "w"}) {
    const int32_t file = caller.Call("Open", {"f", mode});
    EXPECT_EQ(write("same"), -1) << mode;
    caller.Call("Close", {file});
    EXPECT_EQ(write("same"), 1) << mode;
  }
  caller.Call("FnCat", {"f", "y"});
  EXPECT_EQ(write("./f"), -1);
  caller.self.CloseAllCatchedFileHandle();
  EXPECT_EQ(write("./f"), 1);
  EXPECT_EQ(FileBytes("f"), "xxxyx");
  EXPECT_EQ(failures, (decltype(failures){{"same", EBUSY}, {"same", EBUSY}, {"./f", EBUSY}}));
}

TEST_F(FormatBuiltins, BmprintfStopsAtAnUnknownCharset) {
  EXPECT_NE(caller.Refusal("bmprintf", {"f", "no-such-charset", "x"}).find("no-such-charset"), std::string::npos);
}

// A host may take what goes to named files, keep it, and have it written later; the stream "stdout" is not among it.
TEST_F(FormatBuiltins, AHostCanTakeTheNamedOutputAndWriteItLater) {
  std::vector<std::pair<std::string, std::string>> taken;
  std::vector<bool> converted;
  caller.self.OnNamedOutput([&](const NamedText& text) {
    taken.emplace_back(text.file, text.bytes);
    converted.push_back(text.converted);
    return text.bytes == "no" ? -1 : 7;
  });
  EXPECT_EQ(caller.Call("fnprintf", {"a", "x%d", 1}), 7);
  EXPECT_EQ(caller.Call("FnCat", {"no/such/folder", "no"}), -1);
  EXPECT_EQ(caller.Call("bmprintf", {"b", "utf-8", "中"}), 7);
  EXPECT_EQ(caller.Call("FnCat", {"StdOut", "x"}), -1) << "there is no stream";
  EXPECT_FALSE(std::filesystem::exists("a"));
  EXPECT_EQ(taken, (decltype(taken){{"a", "x1"}, {"no/such/folder", "no"}, {"b", "\xE4\xB8\xAD"}}));
  EXPECT_EQ(converted, (std::vector<bool>{false, false, true}));
  caller.self.OnNamedOutput(nullptr);
  for (size_t i = 0; i < taken.size(); ++i) {
    const int32_t expected = taken[i].second == "no" ? -1 : static_cast<int32_t>(taken[i].second.size());
    EXPECT_EQ(caller.self.AppendToFile({taken[i].first, taken[i].second, converted[i]}), expected);
  }
  EXPECT_EQ(caller.Call("fnprintf", {"a", "y"}), 1);
  EXPECT_EQ(FileBytes("a"), "x1y");
  EXPECT_EQ(FileBytes("b"), "\xE4\xB8\xAD");
}

}  // namespace
}  // namespace karst::testing
