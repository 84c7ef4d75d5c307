// Statistics tables: their invariants under any operations, the exact order of the sort, and what they cost.
#include "statis/statisdb.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <array>
#include <ctime>
#include <map>
#include <random>
#include <string>

#include "text/mbtext.h"

namespace {

// Every row is in both places, under its own number and a key of its own.
void ExpectSound(CStatisTable& table) {
  ASSERT_EQ(table.keys.size(), table.rows.size());
  for (int i = 0; i < table.GetRowCount(); ++i) {
    const CStatisRow* row = table.rows[static_cast<size_t>(i)].get();
    ASSERT_EQ(row->row, i);
    ASSERT_FALSE(row->key.view().empty());
    ASSERT_EQ(table.FindRow(row->key.view()), row);
    for (size_t c = 0; c < row->cells.size(); ++c) {
      ASSERT_TRUE(c == 0 || row->cells[c - 1].column < row->cells[c].column);
      ASSERT_LT(row->cells[c].column, table.columns);
    }
  }
}

std::string Keys(const CStatisTable& table) {
  std::string keys;
  for (const auto& row : table.rows) (keys += keys.empty() ? "" : " ") += row->key.view();
  return keys;
}

struct Cell {
  int found = 0;
  int64_t value = -9;
  std::string text = "old";
};

Cell CellOf(const CStatisTable& table, int row, int column) {
  CString text("old");
  Cell cell;
  cell.found = table.GetCell(row, column, cell.value, text);
  cell.text = text.view();
  return cell;
}

// Rows that were found lately are found by the ends of their keys.
TEST(StatisTable, TellsKeysApartThatDifferInOneByte) {
  CStatisTable table;
  table.Create(1);
  std::map<std::string, CStatisRow*> rows;
  for (const size_t length : {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 18, 24, 40}) {
    std::string key(length, 'k');
    for (size_t i = 0; i <= length; ++i) {
      if (i > 0) key[i - 1] = 'k';
      if (i < length) key[i] = '\xff';
      rows[key] = table.AddRow(table.GetRowCount(), key);
      ASSERT_NE(rows[key], nullptr) << key;
    }
  }
  for (int round = 0; round < 2; ++round) {
    for (const auto& [key, row] : rows) ASSERT_EQ(table.FindRow(key), row) << key;
  }
}

// A table against a list of keys and a map of cells, under any operations.
TEST(StatisTable, AnyOperationsKeepItSound) {
  std::mt19937 random(7);
  const auto pick = [&](unsigned below) { return static_cast<int>(random() % below); };
  CStatisTable table;
  table.Create(4);
  std::vector<std::string> order;
  std::map<std::pair<std::string, int>, std::pair<int64_t, std::string>> cells;
  const auto forget = [&](size_t at) {
    for (int column = 0; column < 4; ++column) cells.erase({order[at], column});
    order.erase(order.begin() + static_cast<ptrdiff_t>(at));
  };
  for (int step = 0; step < 4000; ++step) {
    const std::string key = "k" + std::to_string(pick(40));
    const auto known = std::find(order.begin(), order.end(), key);
    ASSERT_EQ(table.FindRow(key) != nullptr, known != order.end()) << key;
    if (step % 1500 == 1499) {
      table.Clear();
      order.clear();
      cells.clear();
      continue;
    }
    switch (pick(5)) {
      case 0:
      case 1: {
        const int at = pick(50);
        const bool made = table.AddRow(at, key) != nullptr;
        ASSERT_EQ(made, known == order.end());
        if (made) order.insert(order.begin() + std::min<ptrdiff_t>(at, std::ssize(order)), key);
        break;
      }
      case 2:
        ASSERT_EQ(table.DeleteRowByKey(key), known != order.end());
        if (known != order.end()) forget(static_cast<size_t>(known - order.begin()));
        break;
      case 3: {
        const int at = pick(50);
        ASSERT_EQ(table.DeleteRowAt(at), at < std::ssize(order));
        if (at < std::ssize(order)) forget(static_cast<size_t>(at));
        break;
      }
      default:
        if (known != order.end()) {
          const int column = pick(4);
          const std::string text(static_cast<size_t>(pick(30)), 'x');
          ASSERT_EQ(table.SetCell(table.FindRow(key), column, step, text), 1);
          cells[{key, column}] = {step, text};
        }
    }
    if (step % 500 == 499) {
      ASSERT_EQ(table.Sort(std::vector<int16_t>{-1}, false), 1);
      std::sort(order.begin(), order.end());
    }
    ASSERT_NO_FATAL_FAILURE(ExpectSound(table));
    ASSERT_EQ(table.GetRowCount(), std::ssize(order));
    for (int i = 0; i < table.GetRowCount(); ++i) {
      ASSERT_EQ(table.rows[static_cast<size_t>(i)]->key.view(), order[static_cast<size_t>(i)]);
      const auto expected = cells[{order[static_cast<size_t>(i)], i % 4}];
      ASSERT_EQ(CellOf(table, i, i % 4).value, expected.first);
      ASSERT_EQ(CellOf(table, i, i % 4).text, expected.second);
    }
  }
}

TEST(StatisTable, ColumnLists) {
  const struct {
    const char* list;
    std::vector<int16_t> columns;
  } cases[] = {
      {"", {0}},
      {"2,0", {2, 0}},
      {"1,", {1, 0}},
      {",", {0, 0}},
      {" -1 , 3x,+2", {-1, 3, 2}},
      {"x,1", {0, 1}},
      {"65536", {0}},
      {"65535", {-1}},
      {"32768", {-32768}},
      {"99999999999", {-1}},
      {"\x81,1,2", {0, 2}},  // the comma belongs to a character
  };
  const CStatisTable table;
  for (const auto& c : cases) {
    std::vector<int16_t> columns;
    EXPECT_EQ(table.ParseColumns(c.list, columns), static_cast<int>(c.columns.size())) << c.list;
    EXPECT_EQ(columns, c.columns) << c.list;
  }
  std::vector<int16_t> columns;
  EXPECT_EQ(table.ParseColumns(std::string(99'999, ',').c_str(), columns), 100'000);
}

// The sort as it is told: what every other way of sorting has to agree with.
template <typename Compare>
void ShellSort(std::vector<size_t>& rows, Compare compare) {
  for (const size_t gap : {391, 77, 19, 7, 1}) {
    for (size_t i = gap; i < rows.size(); ++i) {
      const size_t x = rows[i];
      size_t j = i;
      for (; j >= gap && compare(x, rows[j - gap]) < 0; j -= gap) rows[j] = rows[j - gap];
      rows[j] = x;
    }
  }
}

TEST(StatisTableSort, LeavesEqualRowsWhereTheShellSortLeavesThem) {
  std::mt19937 random(11);
  const std::vector<std::vector<int16_t>> lists = {{}, {0}, {1, 0}, {0, 2}, {2, 1, 0}, {1, -1}, {-1}, {0, 0}};
  for (const int count : {1, 7, 8, 20, 78, 150, 392, 800}) {
    for (const unsigned values : {1u, 3u, 1000u}) {
      for (const auto& list : lists) {
        const bool descending = random() % 2;
        CStatisTable table;
        table.Create(3);
        std::vector<std::string> keys;
        std::vector<std::array<int64_t, 3>> cells;
        for (int i = 0; i < count; ++i) {
          keys.push_back(std::to_string((i * 7919) % 10007));
          CStatisRow* row = table.AddRow(i, keys.back());
          cells.push_back({});
          for (int column = 0; column < 3; ++column) {
            if (random() % 8 == 0) continue;  // never written: counts as 0
            cells.back()[static_cast<size_t>(column)] = static_cast<int64_t>(random() % values) - values / 2;
            table.SetCell(row, column, cells.back()[static_cast<size_t>(column)], "text that takes no part");
          }
        }
        std::vector<size_t> expected(keys.size());
        for (size_t i = 0; i < expected.size(); ++i) expected[i] = i;
        ShellSort(expected, [&](size_t x, size_t y) {
          int difference = 0;
          for (size_t i = 0; i < list.size() && difference == 0; ++i) {
            const auto column = static_cast<size_t>(list[i]);
            difference = list[i] == -1 ? _mbscmp(keys[x].c_str(), keys[y].c_str())
                                       : (cells[x][column] > cells[y][column]) - (cells[x][column] < cells[y][column]);
          }
          return descending ? -difference : difference;
        });
        ASSERT_EQ(table.Sort(list, descending), 1);
        ASSERT_NO_FATAL_FAILURE(ExpectSound(table));
        for (size_t i = 0; i < expected.size(); ++i) {
          ASSERT_EQ(table.rows[i]->key.view(), keys[expected[i]])
              << count << " rows, " << values << " values, place " << i << ", list " << ::testing::PrintToString(list);
        }
      }
    }
  }
}

TEST(StatisTableSort, ComparesAll64Bits) {
  CStatisTable table;
  table.Create(1);
  const std::pair<const char*, int64_t> rows[] = {
      {"a", INT64_MAX}, {"b", INT64_MIN}, {"c", 1}, {"d", int64_t{1} << 32}};
  for (const auto& [key, value] : rows) table.SetCell(table.AddRow(table.GetRowCount(), key), 0, value, "");
  table.Sort(std::vector<int16_t>{0}, true);
  EXPECT_EQ(Keys(table), "a d c b");
}

TEST(StatisDB, ALivingTableIsNotLostToALaterHandle) {
  CStatisDB db;
  ASSERT_EQ(db.Create(1), 1);
  db.Write(1, "kept", 0, 5, "");
  for (int handle = 2; handle < 65536; ++handle) {
    ASSERT_EQ(db.Create(1), handle);
    if (handle % 2 == 0) db.Destroy(handle);
  }
  EXPECT_EQ(db.Create(1), 65536) << "its low bits are 0, but it is not handle 0";
  EXPECT_EQ(db.Write(65536, "k", 0, 1, ""), 1);
  EXPECT_EQ(db.Write(0, "k", 0, 1, ""), 0);
  EXPECT_EQ(db.Create(1), 65538) << "65537 would hide table 1";
  for (int i = 2; i < 32768; ++i) ASSERT_GT(db.Create(1), 65538);
  EXPECT_EQ(db.Create(1), -1) << "all are taken";
  CString text;
  int64_t value = 0;
  int row = -1;
  EXPECT_EQ(db.Search(1, "kept", 0, value, text, row), 1);
  EXPECT_EQ(value, 5);
  db.Destroy(777);
  EXPECT_EQ(db.Create(1) % 65536, 777);
}

#if defined(__SANITIZE_ADDRESS__) || !defined(__OPTIMIZE__)
constexpr int kMany = 20'000;
#else
constexpr int kMany = 300'000;
#endif
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kMeasured = false;  // its blocks are larger
#else
constexpr bool kMeasured = true;
#endif

size_t BytesInUse() {
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

// The bound on time is far above what is needed: what fails it grows with the square of the rows.
TEST(StatisDB, ManyKeysAreWrittenSortedAndDeletedInSeconds) {
  const std::clock_t begin = std::clock();
  const size_t bytes_before = BytesInUse();
  CStatisDB db;
  const int handle = db.Create(2);
  for (int i = 0; i < kMany; ++i) {
    const std::string key = "key" + std::to_string(kMany + (i * int64_t{7919}) % kMany);
    ASSERT_EQ(db.Write(handle, key, 0, i % 1000, ""), 1);
  }
  // A key of 10 bytes takes a block of 32.
  if (kMeasured) {
    EXPECT_LT((BytesInUse() - bytes_before) / kMany, 200u + 32u);
  }
  EXPECT_EQ(db.Sort(handle, "0", "a"), 1) << "with a thousand rows for each value";
  EXPECT_EQ(db.Sort(handle, "-1", "d"), 1);
  CString key, text;
  int64_t value = 0;
  ASSERT_EQ(db.Read(handle, 0, key, 0, value, text), 1);
  EXPECT_EQ(key, ("key" + std::to_string(2 * kMany - 1)).c_str());
  for (int i = kMany - 1; i >= 0; --i) ASSERT_EQ(db.DeleteByRow(handle, i), 1);
  EXPECT_EQ(db.Read(handle, 0, key, 0, value, text), 0);
  EXPECT_LT((std::clock() - begin) / CLOCKS_PER_SEC, 30);
}

}  // namespace
