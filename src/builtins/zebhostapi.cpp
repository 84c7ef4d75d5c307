// Built-ins of no family: dates, prices, a message box, what exists, and the host's records.
#include <algorithm>
#include <cstdint>
#include <new>
#include <optional>
#include <vector>

#include "builtins/args.h"
#include "builtins/table.h"
#include "helpers/zebutil.h"
#include "text/mbtext.h"
#include "values/name.h"
#include "windows/window.h"

namespace karst::builtin {
namespace {

// LIMIT: what a date holds behind this is not read.
constexpr size_t kMostDateBytes = 20;
// LIMIT: a number in a price ends here; the rest is not read as part of it.
constexpr size_t kMostPriceBytes = 29;

// The number at the head of a piece of a date or a price.
int32_t NumberIn(std::string_view piece) {
  char digits[kMostPriceBytes + 1] = {};
  piece.copy(digits, kMostPriceBytes);
  return TextToInt(digits);
}

struct Date {
  int32_t year = 0;
  int32_t month = 1;
  int32_t day = 1;
};

// Digits without points: YY, YYYY, YYYYMM or YYYYMMDD.
std::optional<Date> ParsePackedDate(std::string_view text) {
  if (text.size() == 2) {
    const char year[] = {'1', '9', text[0], text[1]};
    return Date{NumberIn({year, sizeof year})};
  }
  if (text.size() < 4) return std::nullopt;
  Date date{NumberIn(text.substr(0, 4))};
  if (text.size() >= 6) date.month = NumberIn(text.substr(4, 2));
  if (text.size() >= 8) date.day = NumberIn(text.substr(6, 2));
  return date;
}

// Year, month and day with points between them; the first part that is empty or missing ends it.
std::optional<Date> ParseDottedDate(std::string_view text) {
  Date date;
  int read = 0;
  for (int32_t* part : {&date.year, &date.month, &date.day}) {
    const std::string_view digits = text.substr(0, text.find('.'));
    if (digits.empty()) break;
    *part = NumberIn(digits);
    ++read;
    text.remove_prefix(std::min(digits.size() + 1, text.size()));
  }
  return read > 0 ? std::optional(date) : std::nullopt;
}

std::optional<Date> ParseDate(std::string_view text) {
  char compact[kMostDateBytes];
  const std::string_view head = text.substr(0, WholeCharacters(text, kMostDateBytes));
  const char* end = std::copy_if(head.begin(), head.end(), compact, [](char byte) { return byte != ' '; });
  const std::string_view date(compact, static_cast<size_t>(end - compact));
  return date.find('.') == std::string_view::npos ? ParsePackedDate(date) : ParseDottedDate(date);
}

int64_t FloorQuotient(int64_t value, int64_t divisor) { return (value >= 0 ? value : value - (divisor - 1)) / divisor; }

// The days from the first of January of year 1 to that of `year`.
int64_t DaysBeforeYear(int64_t year) {
  const int64_t past = year - 1;
  return past * 365 + FloorQuotient(past, 4) - FloorQuotient(past, 100) + FloorQuotient(past, 400);
}

// The number of a day, counted through all years.
//
// SPEED: the years between two dates are counted at once and not one by one, since a text may say two thousand million
// of them.
int64_t DayNumber(const Date& date) {
  return DaysBeforeYear(date.year) + GetDaysInAYearFromDate(date.year, date.month, date.day);
}

int64_t DifferenceByParts(const Date& left, const Date& right) {
  if (left.year != right.year) return int64_t{left.year} - right.year;
  if (left.month != right.month) return int64_t{left.month} - right.month;
  return int64_t{left.day} - right.day;
}

// A text this long is taken to tell a day.
constexpr size_t kWholeDate = 8;

// A run of digits and points in a price, and where it ends.
struct ScannedNumber {
  std::string_view digits;
  size_t end;

  bool HasPoint() const { return digits.find('.') != std::string_view::npos; }
};

ScannedNumber ScanNumber(std::string_view text, size_t from) {
  constexpr char kNumberBytes[] = "0123456789.";
  const size_t start = std::min(text.find_first_of(kNumberBytes, from), text.size());
  const size_t end = std::min({text.find_first_not_of(kNumberBytes, start), text.size(), start + kMostPriceBytes});
  return {text.substr(start, end - start), end};
}

// The price in hundredths; decimals behind the second are cut off.
int64_t Hundredths(std::string_view price) {
  const size_t point = price.find('.');
  const int64_t whole = int64_t{NumberIn(price.substr(0, point))} * 100;
  if (point == std::string_view::npos) return whole;
  char decimals[] = {'0', '0'};
  price.substr(point + 1).copy(decimals, sizeof decimals);
  return whole + NumberIn({decimals, sizeof decimals});
}

bool IsMultiplierMark(std::string_view mark) { return mark == "x" || mark == "X" || mark == "*"; }

// A price text in hundredths, times its multiplier, in 32 bits.
int32_t ReadPrice(std::string_view text) {
  const ScannedNumber first = ScanNumber(text, 0);
  std::string_view price = first.digits;
  int32_t multiplier = 1;
  if (IsMultiplierMark(text.substr(first.end, 1))) {
    const ScannedNumber second = ScanNumber(text, first.end);
    const bool price_is_second = second.HasPoint() && !first.HasPoint();
    if (price_is_second) price = second.digits;
    multiplier = NumberIn(price_is_second ? first.digits : second.digits);
  }
  return static_cast<int32_t>(int64_t{static_cast<int32_t>(Hundredths(price))} * multiplier);
}

// One OK button, an information sign, and the whole task waits (MB_OK, MB_ICONINFORMATION, MB_TASKMODAL).
constexpr unsigned kMessageBoxStyle = 0x2040;

constexpr int kRecordRoom = 100000;

}  // namespace

// DateCmp (first, second): above 0 if the first is later, below if it is earlier, 0 if they are equal or one cannot be
// read. In days if both texts have at least 8 bytes, else the difference of the years, the months or the days.
void DateCmp(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("DateCmp"));
  const std::string_view left_text = args.Text(1).view();
  const std::string_view right_text = args.Text(2).view();
  const std::optional<Date> left = ParseDate(left_text);
  const std::optional<Date> right = ParseDate(right_text);
  result->SetVal(0);
  if (!left || !right) return;
  const bool in_days = left_text.size() >= kWholeDate && right_text.size() >= kWholeDate;
  const int64_t difference = in_days ? DayNumber(*left) - DayNumber(*right) : DifferenceByParts(*left, *right);
  // CHOICE: differences past the int range, which no calendar has, wrap as they do in expressions.
  result->SetVal(static_cast<int32_t>(difference));
}

// PriceToInt (text): the price in hundredths, 0 where there is none.
void PriceToInt(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("PriceToInt"));
  result->SetVal(ReadPrice(args.Text(1).view()));
}

// MsgBox (text): shows it to the user; the box's answer.
//
// CHOICE: the box belongs to the host's output control: this is the window of the host's that is known here. Which
// window has the focus, before and after, is the host's own business.
void MsgBox(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("MsgBox"));
  result->SetVal(ShowMessageBox(self->hWnd, args.Text(1), "Karst", kMessageBoxStyle));
}

// IsVar (name): 1 for an int variable, 2 for a string variable, 0 for any other and for none.
//
// CHOICE: a name is cut as it is where a script uses it, so that a name that works is also found.
void IsVar(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("IsVar"));
  const CString name(SignificantName(args.Text(1).view()));
  const CVarCell* cell = self->SearchVar(name);
  const int32_t type = cell ? cell->leixing : kNoValue;
  result->SetVal(type == kInt ? 1 : type == kText ? 2 : 0);
}

// IsFunc (name): 1 if a call of that name finds a built-in, else 0.
void IsFunc(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("IsFunc"));
  BuiltinHandler handler = nullptr;
  const bool found = self->FindKernelFunction(args.Text(1), &handler, nullptr, 0) != -1;
  result->SetVal(found && handler ? 1 : 0);
}

// ZebGetRcd (first, second, &target): the answer of the host's callback; its record goes to the target unless the
// answer is -1. The two texts mean what the host makes of them.
void ZebGetRcd(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("ZebGetRcd"));
  const CString& first_text = args.Text(1);
  const CString& second_text = args.Text(2);
  args.TextRef(3);
  std::vector<char> record;
  try {
    record.resize(kRecordRoom);
  } catch (const std::bad_alloc&) {
    HaltForBytes(self, kRecordRoom);
  }
  if (!self->GetRcdCallBack) self->halt("GetRcdCallBack 尚未初始化...");
  CString unread;
  const int32_t answer = self->GetRcdCallBack(first_text, second_text, &record, 0, &unread);
  // The host may have resized the record. SetText ends it at its NUL.
  if (answer != -1) args.SetText(3, {record.data(), record.size()});
  result->SetVal(answer);
}

}  // namespace karst::builtin
