// The utility library: names made of parts.
#include <algorithm>
#include <string_view>

#include "helpers/zebutil.h"

namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

// The text without white space at its start, or nothing if it holds nothing else.
std::string_view WithoutLeadingSpace(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
}

std::string_view WithoutTrailingSpace(std::string_view text) {
  return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

}  // namespace

int MakeFufenName(const char* first, const char* second, CString& name) {
  const std::string_view head = WithoutLeadingSpace(first);
  const std::string_view tail = WithoutTrailingSpace(second);
  if (head.empty() || tail.empty()) {
    name = WithoutLeadingSpace(WithoutTrailingSpace(head.empty() ? tail : head));
  } else {
    ((name = head) += "--") += tail;
  }
  return name.GetLength();
}
