// The built-ins of the statistics tables: what they check, hand on and write back.
#include <gtest/gtest.h>

#include "support/builtin_call.h"

namespace karst::testing {
namespace {

class DbBuiltins : public ::testing::Test {
 protected:
  DbBuiltins() {
    caller.Declare("key", "old key");
    caller.Declare("text", "old text");
    caller.Declare("n", -7);
    caller.Declare("large", int64_t{-7});
    table = caller.Call("DBCreate", {2});
  }

  int32_t Write(const std::string& key, int column, const Argument& value) {
    return caller.Call("DBWrite", {table, key, column, value});
  }
  // "result key value text", as they stand behind a call that reads a row.
  std::string Read(int32_t handle, int row, int column) {
    const int result = caller.Call("DBRead", {handle, row, Ref{"key"}, column, Ref{"n"}, Ref{"text"}});
    return std::to_string(result) + " " + caller.Text("key") + " " + std::to_string(caller.Number("n")) + " " +
           caller.Text("text");
  }
  int32_t Rows() { return caller.Call("DBSearch", {table, "", 0, "anything"}); }

  BuiltinCaller caller;
  int32_t table = 0;
};

TEST_F(DbBuiltins, AFailureAssignsNothing) {
  Write("k", 0, 5);
  const struct {
    int32_t handle, row, column;
  } reads[] = {{0, 0, 0},     {9, 0, 0},      {table, 1, 0},        {table, -1, 0},
               {table, 0, 2}, {table, 0, -2}, {table, INT32_MIN, 0}};
  for (const auto& c : reads) EXPECT_EQ(Read(c.handle, c.row, c.column), "-1 old key -7 old text") << c.row << c.column;
  const struct {
    int32_t handle;
    const char* key;
    int32_t column;
  } searches[] = {{0, "k", 0}, {0, "", 0}, {9, "", 0}, {table, "K", 0}, {table, "k", 2}, {table, "k", -2}};
  for (const auto& c : searches) {
    EXPECT_EQ(caller.Call("DBSearch", {c.handle, c.key, c.column, Ref{"n"}, Ref{"text"}}), -1) << c.key << c.column;
  }
  EXPECT_EQ(Read(-1, 0, 0), "-1 old key -7 old text");
  for (const auto& bad : std::vector<std::vector<Argument>>{
           {0, "k", 0, 1}, {9, "k", 0, 1}, {table, "", 0, 1}, {table, "k", 2, 1}, {table, "k", -1, 1}}) {
    EXPECT_EQ(caller.Call("DBWrite", bad), -1);
  }
  EXPECT_EQ(caller.Call("DBSort", {0, "0", "a"}), -1);
  EXPECT_EQ(caller.Call("DBSort", {9, "0", "a"}), -1);
  EXPECT_EQ(caller.Call("DBSort", {table, "2", "a"}), -1);
  EXPECT_EQ(caller.Call("DBDestroy", {0}), 0);
  EXPECT_EQ(caller.Call("DBDestroy", {9}), 0);
  EXPECT_EQ(Rows(), 1);
  EXPECT_EQ(Write("new", 2, 1), -1);
  EXPECT_EQ(Rows(), 2) << "the row of a refused column stays";
}

TEST_F(DbBuiltins, WritingReplacesAndReadingGivesWhatWasNeverWritten) {
  EXPECT_EQ(caller.Call("DBWrite", {table, "\xB9\xFA", 1, 3, "three"}), 0);
  EXPECT_EQ(Read(table, 0, 1), "0 \xB9\xFA 3 three");
  EXPECT_EQ(Read(table, 0, 0), "0 \xB9\xFA 0 ");
  EXPECT_EQ(Read(table, 0, -1), "0 \xB9\xFA 0 \xB9\xFA") << "the key as a column";
  EXPECT_EQ(Write("\xB9\xFA", 1, int64_t{0x1'FFFF'FFFF}), 0);
  EXPECT_EQ(Read(table, 0, 1), "0 \xB9\xFA -1 ") << "the low 32 bits, and the text goes too";
  EXPECT_EQ(caller.Call("DBRead", {table, 0, Ref{"key"}, 1, Ref{"large"}}), 0);
  EXPECT_EQ(caller.Number("large"), -1) << "with its sign";
}

TEST_F(DbBuiltins, SearchGivesTheRowAndForTheEmptyKeyTheirNumber) {
  for (const char* key : {"a", "b", "c"}) caller.Call("DBWrite", {table, key, 0, key[0] - 'a', key});
  EXPECT_EQ(caller.Call("DBSearch", {table, "b", 0, Ref{"large"}, Ref{"text"}}), 1);
  EXPECT_EQ(caller.Number("large"), 1);
  EXPECT_EQ(caller.Text("text"), "b");
  EXPECT_EQ(caller.Call("DBSearch", {table, "", 99, Ref{"n"}, Ref{"text"}}), 3);
  EXPECT_EQ(caller.Number("n"), -7) << "stays";
  EXPECT_EQ(caller.Text("text"), "");
  caller.Call("DBDelete", {table, 0});
  EXPECT_EQ(caller.Call("DBSearch", {table, "b", 0, Ref{"n"}}), 0);
  EXPECT_EQ(caller.Call("DBSearch", {table, "c", 0, Ref{"n"}}), 1);
}

TEST_F(DbBuiltins, DeletingByRowByKeyAndAll) {
  const auto fill = [&] {
    for (const char* key : {"a", "b", "c", "d"}) Write(key, 0, 1);
  };
  fill();
  const struct {
    Argument what;
    int rows;
  } cases[] = {{99, 4}, {-2, 4}, {"x", 4}, {"b", 3}, {int64_t{1} << 32, 2}, {"", 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(caller.Call("DBDelete", {table, c.what}), 0);
    EXPECT_EQ(Rows(), c.rows);
  }
  fill();
  EXPECT_EQ(caller.Call("DBDelete", {table, int64_t{0xFFFF'FFFF}}), 0) << "-1 by its low 32 bits";
  EXPECT_EQ(Rows(), 0);
  EXPECT_EQ(caller.Call("DBDelete", {0, "a"}), -1);
  EXPECT_EQ(caller.Call("DBDelete", {9, 0}), -1);
  fill();
  EXPECT_EQ(Read(table, 3, 0), "0 d 1 ") << "the table and its columns stayed";
  BuiltinHandler handler = nullptr;
  caller.self.FindKernelFunction("DBDelete", &handler, nullptr, 0);
  const int first = static_cast<int>(caller.self.m_Cells.size());
  caller.self.CreateNewVar("_param  0", table);
  caller.self.CreateNewVar("_param  1", 0);
  caller.self.m_Cells.back()->leixing = kWord;
  CValue result;
  handler(&caller.self, 2, first, &result);
  EXPECT_EQ(result.lVal, -1) << "neither a row nor a key";
  EXPECT_EQ(Rows(), 4);
}

TEST_F(DbBuiltins, TheFirstLetterOfTheOrderWord) {
  for (const char* key : {"a", "c", "b"}) Write(key, 0, 1);
  const struct {
    const char* word;
    const char* first;
  } cases[] = {{"a", "a"}, {"", "c"}, {"Up", "a"}, {"down", "c"}, {"ASC", "a"}, {" a", "c"}, {"u", "a"}, {"1", "c"}};
  for (const auto& c : cases) {
    EXPECT_EQ(caller.Call("DBSort", {table, "-1", c.word}), 0);
    Read(table, 0, 0);
    EXPECT_EQ(caller.Text("key"), c.first) << c.word;
  }
}

TEST_F(DbBuiltins, CountsOfArgumentsAndTheKindsOfThoseThatMayBeLeftOut) {
  EXPECT_EQ(caller.Refusal("DBWrite", {table, "k", 0, 1, "t", 1}), "DBWrite()函数应当为4或5个参数");
  EXPECT_EQ(caller.Refusal("DBRead", {table, 0, Ref{"key"}, 0, Ref{"n"}, Ref{"text"}, 1}),
            "DBRead()函数应当为5或6个参数");
  EXPECT_EQ(caller.Refusal("DBSearch", {table, "k", 0, Ref{"n"}, Ref{"text"}, 1}), "DBSearch()函数应当为4或5个参数");
  EXPECT_EQ(caller.Refusal("DBSearch", {table, "", 0, 1, 1, 1}), "DBSearch()函数应当为4或5个参数");
  EXPECT_EQ(caller.Refusal("DBSearch", {table, "", 0}), "函数DBSearch()应当以4个参数调用，现错为3个");
  EXPECT_EQ(caller.Refusal("DBWrite", {table, "k", 0, "1", "t", 1}), "函数DBWrite()参数4应当为int或int64类型...");
  EXPECT_EQ(caller.Refusal("DBWrite", {table, "k", 0, 1, 2}), "函数DBWrite()参数5应当为string类型...");
  EXPECT_EQ(caller.Refusal("DBRead", {table, 0, Ref{"key"}, 0, Ref{"n"}, "text"}),
            "函数DBRead()参数6应当为string类型，并且为引用型...");
  EXPECT_EQ(caller.Refusal("DBSearch", {table, "", 0, 1, Ref{"n"}}),
            "函数DBSearch()参数5应当为string类型，并且为引用型...");
  EXPECT_EQ(Rows(), 0);
}

TEST_F(DbBuiltins, TablesBelongToTheirInterpreter) {
  BuiltinCaller other;
  EXPECT_EQ(other.Call("DBWrite", {table, "k", 0, 1}), -1);
  EXPECT_EQ(other.Call("DBCreate", {0}), 1);
  EXPECT_EQ(other.Call("DBWrite", {1, "k", 0, 1}), -1) << "a table without columns";
  EXPECT_EQ(other.Call("DBSearch", {1, "", 0, 0}), 0);
  EXPECT_EQ(caller.Call("DBDestroy", {table}), 1);
  EXPECT_EQ(caller.Call("DBDestroy", {table}), 0);
  EXPECT_EQ(caller.Call("DBCreate", {1}), table + 1);
}

}  // namespace
}  // namespace karst::testing
