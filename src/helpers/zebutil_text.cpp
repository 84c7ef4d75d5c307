// The utility library: tests and escapes of texts.
#include "helpers/zebutil.h"
#include "text/characterset.h"
#include "text/percent.h"

int IsNumber(const char* text) {
  const std::string_view digits(text);
  return !digits.empty() && digits.find_first_not_of("0123456789") == std::string_view::npos;
}

int EscapeString(CString& text, const char* characters) {
  const karst::CharacterSet escaped{std::string_view(characters)};
  CString result;
  int changed = 0;
  for (std::string_view rest = text.view(); !rest.empty();) {
    const std::string_view character = karst::FirstCharacter(rest);
    rest.remove_prefix(character.size());
    if (!escaped.Has(character)) {
      result += character;
      continue;
    }
    for (const char byte : character) karst::AppendPercentEscape(result, byte);
    changed = 1;
  }
  if (changed) text.Swap(result);
  return changed;
}
