// The look-up of built-ins, the argument reader, and what the table says of every handler.
#include "builtins/funcarray.h"

#include <gtest/gtest.h>

#include <set>

#include "builtins/args.h"
#include "builtins/table.h"
#include "support/builtin_call.h"

namespace karst::testing {
namespace {

TEST(FindKernelFunction, FindsNamesInAnyCaseAndIndexForms) {
  const struct {
    const char* name;
    int row;
    const char* form;  // an index form is left as it was
  } cases[] = {{"itos", 0, "@0"},   {"STRLEN", 8, "@8"},        {"MakeFufenName", 70, "@70"},
               {"", -1, "old"},     {"StrLe", -1, "old"},       {"StrLenX", -1, "old"},
               {" min", -1, "old"}, {"@0", 0, "old"},           {"@15abc", 15, "old"},
               {"@015", 15, "old"}, {"@70", 70, "old"},         {"@71", -1, "old"},
               {"@-1", -1, "old"},  {"@4294967296", -1, "old"}, {"@x", 0, "old"},
               {"@ 15", 15, "old"}, {"@99999999999", -1, "old"}};
  CFuncArray self;
  for (const auto& c : cases) {
    char form[30] = "old";
    BuiltinHandler handler = builtin::Open;
    EXPECT_EQ(self.FindKernelFunction(c.name, &handler, form, sizeof form), c.row) << c.name;
    EXPECT_STREQ(form, c.form) << c.name;
    EXPECT_EQ(handler, c.row == -1 ? nullptr : kKernelFunctions[c.row].handler) << c.name;
  }
  EXPECT_EQ(self.FindKernelFunction("max", nullptr, nullptr, 0), 52);
}

TEST(FindKernelFunction, KeepsWithinTheRoomForTheIndexForm) {
  CFuncArray self;
  char form[5] = {'x', 'x', 'x', 'x', 'x'};
  self.FindKernelFunction("max", nullptr, form, 3);
  EXPECT_STREQ(form, "") << "a cut index form would name another built-in";
  self.FindKernelFunction("max", nullptr, form, 4);
  EXPECT_STREQ(form, "@52");
  EXPECT_EQ(form[4], 'x');
}

// The kinds of the arguments that a call must have.
std::vector<std::string> SplitKinds(std::string_view kinds) {
  std::vector<std::string> parts;
  while (!kinds.empty() && kinds[0] != '(' && kinds[0] != '.') {
    const size_t end = std::min(kinds.find_first_of(",("), kinds.size());
    parts.emplace_back(kinds.substr(0, end));
    kinds.remove_prefix(end);
    if (kinds.starts_with(',')) kinds.remove_prefix(1);
  }
  return parts;
}

Argument RightFor(const std::string& kind) {
  if (kind == "s") return "x";
  if (kind == "s&") return Ref{"text"};
  if (kind == "i&") return Ref{"large"};
  return 7;
}

std::vector<Argument> WrongFor(const std::string& kind) {
  if (kind == "s") return {1, int64_t{1}, Ref{"number"}};
  if (kind == "s&") return {"x", 1, Ref{"number"}, Ref{"large"}};
  if (kind == "i") return {"1", Ref{"text"}};
  if (kind == "i&") return {1, int64_t{1}, "1", Ref{"text"}};
  return {};
}

std::string RefusalOf(const std::string& kind) {
  const std::string type = kind[0] == 's' ? "string类型" : "int或int64类型";
  return type + (kind.ends_with('&') ? "，并且为引用型..." : "...");
}

// How a built-in calls itself in the messages of the argument checks.
std::string NameInMessages(const KernelFunctionRow& row) {
  if (row.name == std::string("StrFindOneOf")) return "FindOneOf";
  if (row.name == std::string("OpenWindow")) return "OpenHyperWindow";
  return row.name;
}

TEST(BuiltinTable, EveryHandlerRefusesEachArgumentOfAnotherKind) {
  BuiltinCaller caller;
  caller.Declare("text", "x");
  caller.Declare("number", 1);
  caller.Declare("large", int64_t{1});
  const std::set<std::string> unchecked = {"fprintf 1"};
  int refused = 0;
  for (const KernelFunctionRow& row : kKernelFunctions) {
    if (!row.handler) continue;
    const std::vector<std::string> kinds = SplitKinds(row.kinds);
    std::vector<Argument> right;
    for (const std::string& kind : kinds) right.push_back(RightFor(kind));
    for (size_t i = 0; i < kinds.size(); ++i) {
      if (unchecked.contains(row.name + (" " + std::to_string(i + 1)))) continue;
      for (const Argument& wrong : WrongFor(kinds[i])) {
        std::vector<Argument> arguments = right;
        arguments[i] = wrong;
        EXPECT_EQ(caller.Refusal(row.name, arguments),
                  "函数" + NameInMessages(row) + "()参数" + std::to_string(i + 1) + "应当为" + RefusalOf(kinds[i]));
        ++refused;
      }
    }
  }
  EXPECT_GE(refused, 60) << "the table has rows of fewer arguments than it should";
  EXPECT_EQ(caller.Text("text"), "x");
}

TEST(BuiltinTable, ACallWithTooFewArgumentsIsRefusedByTheSharedCountMessage) {
  BuiltinCaller caller;
  caller.Declare("text", "x");
  caller.Declare("large", int64_t{1});
  const std::set<std::string> with_own_message = {"EscapeString", "min", "max"};
  for (const KernelFunctionRow& row : kKernelFunctions) {
    if (!row.handler || std::string_view(row.kinds).ends_with("...") || with_own_message.contains(row.name)) continue;
    const std::vector<std::string> kinds = SplitKinds(row.kinds);
    std::vector<Argument> arguments;
    for (const std::string& kind : kinds) {
      EXPECT_EQ(caller.Refusal(row.name, arguments), "函数" + NameInMessages(row) + "()应当以" +
                                                         std::to_string(kinds.size()) + "个参数调用，现错为" +
                                                         std::to_string(arguments.size()) + "个");
      arguments.push_back(RightFor(kind));
    }
  }
}

TEST(BuiltinTable, AnEarlierWrongKindIsToldBeforeAMissingArgument) {
  EXPECT_EQ(BuiltinCaller().Refusal("Seek", {"x"}), "函数Seek()参数1应当为int或int64类型...");
}

TEST(RequiredArguments, CountsWhatACallMustHave) {
  const std::pair<const char*, int> cases[] = {{"", 0}, {"i", 1}, {"i(,i)", 1}, {"i,i|s", 2}, {"s,s,s,...", 3}};
  for (const auto& [kinds, count] : cases) EXPECT_EQ(RequiredArguments(kinds), count) << kinds;
}

// Checks that hosts' own functions make, without a name or a number, say less.
TEST(ArgumentChecks, WithoutANameOrNumberSayLess) {
  CFuncArray self;
  self.CreateNewVar("n", 5);
  CVarCell* cell = self.SearchVar("n");
  const auto message_of = [&](auto check) -> std::string {
    try {
      check();
    } catch (const CError& error) {
      return error.text;
    }
    return "(no refusal)";
  };
  EXPECT_EQ(message_of([&] { self.CheckStringArg(cell, nullptr, 1); }), "函数调用参数类型应当为string类型");
  EXPECT_EQ(message_of([&] { self.CheckStringRefArg(cell, "X", 0); }),
            "函数调用参数类型应当为string类型，并且为引用型");
  EXPECT_EQ(message_of([&] { self.CheckIntRefArg(cell, nullptr, 0); }),
            "函数调用参数类型应当为int或int64类型，并且为引用型");
  EXPECT_EQ(message_of([&] { self.CheckStringArg(cell, "X", 3); }), "函数X()参数3应当为string类型...");
}

}  // namespace
}  // namespace karst::testing
