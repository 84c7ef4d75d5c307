// The built-ins that edit and test texts, among them URLs and HTML. A variable is assigned to only if its text changes.
#include <algorithm>

#include "builtins/args.h"
#include "builtins/table.h"
#include "catalogue/htmlstring.h"
#include "helpers/zebutil.h"
#include "text/characterset.h"
#include "text/mbtext.h"
#include "text/partmatcher.h"
#include "text/percent.h"

namespace {

constexpr std::string_view kMarkup = "\"&<>";
constexpr std::string_view kEscapedInUrl = " <>\"#{}|\\^~[].%+";

bool IsEscapedInUrl(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return value <= 0x1F || value >= 0x7F || kEscapedInUrl.find(byte) != std::string_view::npos;
}

// Puts `text` with every `old_part` replaced into `target`, and gives how many there were. Without one, `target` stays.
int ReplaceParts(std::string_view text, std::string_view old_part, std::string_view new_part, CString& target) {
  if (old_part.empty()) return 0;
  int count = 0;
  std::string_view rest = text;
  for (size_t at; (at = karst::FindByCharacters(rest, old_part)) != std::string_view::npos; ++count) {
    (target += rest.substr(0, at)) += new_part;
    rest.remove_prefix(at + old_part.size());
  }
  if (count != 0) target += rest;
  return count;
}

// Puts `url` in its canonical form into `target`; false if nothing in it is escaped.
bool Canonicalize(std::string_view url, CString& target) {
  bool changed = false;
  for (const char byte : url) {
    if (IsEscapedInUrl(byte)) {
      karst::AppendPercentEscape(target, byte);
      changed = true;
    } else {
      target += byte;
    }
  }
  return changed;
}

// The place of hit number `index` of `wanted`, from 0, or npos. Hits may overlap.
size_t FindHit(std::string_view text, std::string_view wanted, int index) {
  karst::PartMatcher matcher(wanted, karst::PartMatcher::Case::kExact);
  for (size_t end = 0; end < text.size(); ++end) {
    if (matcher.Take(text[end]) && index-- == 0) return end + 1 - wanted.size();
  }
  return std::string_view::npos;
}

// Takes parameter `index` of that name out of the query. False, with the URL unchanged, if there is none.
bool RemoveParameter(CString& url, int index, const CString& name) {
  if (index < 0) return false;
  const size_t question = url.view().find('?');
  const bool has_query = question != std::string_view::npos;
  if (has_query) url.data()[question] = '&';
  CString wanted("&");
  if (!name.IsEmpty()) (wanted += name.view()) += '=';
  size_t start = FindHit(url.view(), wanted.view(), index);
  size_t end = start == std::string_view::npos ? start : url.view().find('&', start + 1);
  if (has_query) url.data()[question] = '?';
  if (start == std::string_view::npos) return false;
  end = std::min(end, url.size());
  // CHOICE: behind the first parameter of the query its "?" stays in place of the next one's "&".
  if (start == question && end < url.size()) ++start, ++end;
  const CString rest = url.view().substr(end);
  url.Resize(start);
  url += rest.view();
  return true;
}

}  // namespace

int HTMLString(CString& text) {
  std::string_view rest = text.view();
  CString result;
  for (size_t at; (at = rest.find_first_of(kMarkup)) != std::string_view::npos; rest.remove_prefix(at + 1)) {
    CString reference;
    reference.Format("&#%d;", rest[at]);
    (result += rest.substr(0, at)) += reference.view();
  }
  if (rest.size() == text.size()) return 0;
  result += rest;
  text.Swap(result);
  return 1;
}

namespace karst::builtin {

// RplcStr (&text, table file): 0, with the text's value in the table, or -1. Without the & nothing is seen of it.
void RplcStr(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("RplcStr"));
  const CString& text = args.Text(1);
  CString value;
  const int found = self->ReplaceStringFromFile(text, value, args.Text(2));
  if (found != -1) args.SetText(1, value.view());
  result->SetVal(found);
}

// StrReplace (&text, old, new): the number of replacements.
void StrReplace(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("StrReplace"));
  const CString& text = args.TextRef(1);
  const CString& old_part = args.Text(2);
  const CString& new_part = args.Text(3);
  WorkText replaced(self);
  const int count = ReplaceParts(text.view(), old_part.view(), new_part.view(), *replaced);
  if (count != 0) args.SetText(1, replaced->view());
  result->SetVal(count);
}

// StrFindOneOf (text, set): the position of the first character that is in the set, or -1.
void StrFindOneOf(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("StrFindOneOf"), "FindOneOf");
  const CString& text = args.Text(1);
  const CharacterSet set(args.Text(2).view());
  result->SetVal(-1);
  for (std::string_view rest = text.view(); !rest.empty(); rest.remove_prefix(FirstCharacter(rest).size())) {
    if (!set.Has(FirstCharacter(rest))) continue;
    result->SetVal(static_cast<int32_t>(text.size() - rest.size()));
    break;
  }
}

// IsNum (text): 1 for a text of digits, else 0.
void IsNum(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("IsNum"));
  result->SetVal(IsNumber(args.Text(1)));
}

// CanonicalizeURL (&url): 1 if it changed, else 0.
void CanonicalizeURL(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("CanonicalizeURL"));
  const CString& url = args.TextRef(1);
  WorkText canonical(self);
  const bool changed = Canonicalize(url.view(), *canonical);
  if (changed) args.SetText(1, canonical->view());
  result->SetVal(changed ? 1 : 0);
}

// EscapeString (&text, characters): 1 if it changed, else 0.
void EscapeString(CFuncArray* self, int argc, int first, CValue* result) {
  if (argc != 2) self->halt("函数EscapeString应当有两个参数! %d", argc);
  Arguments args(self, argc, first, BuiltinRow("EscapeString"));
  CString text = args.TextRef(1);
  const int changed = ::EscapeString(text, args.Text(2));
  if (changed == 1) args.SetText(1, text.view());
  result->SetVal(changed);
}

// HTMLString (&text): 1 if it changed, else 0.
void HTMLString(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("HTMLString"));
  CString text = args.TextRef(1);
  const int changed = ::HTMLString(text);
  if (changed) args.SetText(1, text.view());
  result->SetVal(changed);
}

// URLDelParam (&url, index, name): 1 if there was such a parameter, else 0. The empty name counts all parameters.
void URLDelParam(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("URLDelParam"));
  CString url = args.TextRef(1);
  const int32_t index = args.Int(2);
  const bool removed = RemoveParameter(url, index, args.Text(3));
  if (removed) args.SetText(1, url.view());
  result->SetVal(removed ? 1 : 0);
}

// min (a, b), max (a, b): by their low 32 bits.
void Min(CFuncArray* self, int argc, int first, CValue* result) {
  if (argc != 2) self->halt("函数min应当有两个参数! %d", argc);
  Arguments args(self, argc, first, BuiltinRow("min"));
  const int32_t a = args.Int(1);
  result->SetVal(std::min(a, args.Int(2)));
}
void Max(CFuncArray* self, int argc, int first, CValue* result) {
  if (argc != 2) self->halt("函数max应当有两个参数! %d", argc);
  Arguments args(self, argc, first, BuiltinRow("max"));
  const int32_t a = args.Int(1);
  result->SetVal(std::max(a, args.Int(2)));
}

}  // namespace karst::builtin
