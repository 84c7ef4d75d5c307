// Sorting a table.
//
// The order of rows that compare equal is that of a Shell sort with fixed gaps, and scripts see it. One pass of that
// sort takes the rows whose places differ by multiples of the gap and sorts them by insertion. An insertion sort is
// stable, so any stable sort moves these rows to the same places.
#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

#include "statis/statisdb.h"
#include "text/mbtext.h"

namespace {

constexpr size_t kGaps[] = {391, 77, 19, 7, 1};

using Rows = std::vector<std::unique_ptr<CStatisRow>>;
using Places = std::vector<uint32_t>;

int64_t ValueOf(const CStatisRow& row, int column) {
  const CStatisCell* cell = row.Find(column);
  return cell ? cell->value : 0;
}

int CompareRows(const CStatisRow& x, const CStatisRow& y, std::span<const int16_t> columns) {
  for (const int16_t column : columns) {
    if (column == CStatisTable::kKeyColumn) {
      const int difference = _mbscmp(x.key.c_str(), y.key.c_str());
      if (difference != 0) return difference;
      continue;
    }
    const int64_t a = ValueOf(x, column);
    const int64_t b = ValueOf(y, column);
    if (a != b) return a < b ? -1 : 1;
  }
  return 0;
}

// The places of the rows in the order that the columns give; equal rows in any order.
Places SortedPlaces(const Rows& rows, std::span<const int16_t> columns, bool descending) {
  // SPEED: the numbers of the first column stand side by side; they decide most comparisons.
  struct Entry {
    int64_t first;
    uint32_t place;
  };
  const bool has_first = !columns.empty() && columns[0] != CStatisTable::kKeyColumn;
  const auto rest = columns.subspan(has_first ? 1 : 0);
  std::vector<Entry> entries(rows.size());
  for (uint32_t i = 0; i < rows.size(); ++i) entries[i] = {has_first ? ValueOf(*rows[i], columns[0]) : 0, i};
  std::sort(entries.begin(), entries.end(), [&](const Entry& a, const Entry& b) {
    const Entry& x = descending ? b : a;
    const Entry& y = descending ? a : b;
    if (x.first != y.first) return x.first < y.first;
    return CompareRows(*rows[x.place], *rows[y.place], rest) < 0;
  });
  Places places(rows.size());
  std::transform(entries.begin(), entries.end(), places.begin(), [](const Entry& entry) { return entry.place; });
  return places;
}

// For each row how many different rows come before it in sorted order; `all_differ` says whether no two are equal.
Places RanksOf(const Rows& rows, const Places& sorted, std::span<const int16_t> columns, bool& all_differ) {
  Places ranks(sorted.size());
  uint32_t rank = 0;
  for (size_t i = 1; i < sorted.size(); ++i) {
    if (CompareRows(*rows[sorted[i - 1]], *rows[sorted[i]], columns) != 0) ++rank;
    ranks[sorted[i]] = rank;
  }
  all_differ = rank + 1 == sorted.size();
  return ranks;
}

// One pass over the rows whose places are `start`, `start` + `gap` and so on.
void SortEveryNth(Places& order, const Places& ranks, size_t start, size_t gap, Places& scratch) {
  scratch.clear();
  for (size_t i = start; i < order.size(); i += gap) scratch.push_back(order[i]);
  std::stable_sort(scratch.begin(), scratch.end(), [&](uint32_t a, uint32_t b) { return ranks[a] < ranks[b]; });
  for (size_t i = 0; i < scratch.size(); ++i) order[start + i * gap] = scratch[i];
}

Places ShellOrder(const Places& ranks) {
  Places order(ranks.size());
  for (uint32_t i = 0; i < order.size(); ++i) order[i] = i;
  Places scratch;
  for (const size_t gap : kGaps) {
    for (size_t start = 0; start < gap && start + gap < order.size(); ++start) {
      SortEveryNth(order, ranks, start, gap, scratch);
    }
  }
  return order;
}

// The place that each row of the sorted table has now.
//
// SPEED: rows are compared in one fast sort, and the passes go by the ranks that it gives. Where no two rows are equal
// there is but one sorted order, and no pass is needed.
Places NewOrder(const Rows& rows, std::span<const int16_t> columns, bool descending) {
  Places sorted = SortedPlaces(rows, columns, descending);
  bool all_differ = false;
  const Places ranks = RanksOf(rows, sorted, columns, all_differ);
  return all_differ ? sorted : ShellOrder(ranks);
}

}  // namespace

int CStatisTable::Sort(const std::vector<int16_t>& sort_columns, bool descending) {
  if (rows.empty()) return 1;
  const auto is_known = [this](int16_t column) { return column == kKeyColumn || HasColumn(column); };
  if (!std::all_of(sort_columns.begin(), sort_columns.end(), is_known)) return 0;
  const Places order = NewOrder(rows, sort_columns, descending);
  Rows moved(rows.size());
  std::transform(order.begin(), order.end(), moved.begin(), [this](uint32_t place) { return std::move(rows[place]); });
  rows.swap(moved);
  Renumber(0);
  return 1;
}
