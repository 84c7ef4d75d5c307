// The utility library: names made of parts.
#include <string_view>

#include "helpers/zebutil.h"
#include "text/ascii.h"

int MakeFufenName(const char* first, const char* second, CString& name) {
  const std::string_view head = karst::WithoutLeadingSpace(first);
  const std::string_view tail = karst::WithoutTrailingSpace(second);
  if (head.empty() || tail.empty()) {
    name = karst::WithoutLeadingSpace(karst::WithoutTrailingSpace(head.empty() ? tail : head));
  } else {
    ((name = head) += "--") += tail;
  }
  return name.GetLength();
}
