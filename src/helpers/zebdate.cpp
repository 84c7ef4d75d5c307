// The utility library: a date's place in its year.
#include <algorithm>
#include <cstdint>

#include "helpers/zebutil.h"

namespace {

constexpr int kDaysBeforeMonth[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334, 365};

bool IsLeapYear(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

}  // namespace

int GetDaysInAYearFromDate(int year, int month, int day) {
  const int leap_day = IsLeapYear(year) && month > 2 ? 1 : 0;
  if (month > 12) return kDaysBeforeMonth[12] + leap_day;
  const int days_before = kDaysBeforeMonth[std::max(month, 1) - 1] + leap_day;
  return static_cast<int>(int64_t{days_before} + day);
}
