// "&#N;" in the place of what a text cannot hold, and how text that has this look by itself stays apart from it: it has
// "#38;" behind its "&", once more than it had.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

namespace karst {

// "&", any number of "#38;", and "#N;" without zeros in front.
struct NumericReference {
  static constexpr std::string_view kStart = "&#";
  static constexpr std::string_view kMore = "#38;";
  static constexpr size_t kLongest = 10;  // "&#1114111;"

  size_t length = 0;  // 0: none
  size_t more = 0;    // how many "#38;"
  uint32_t code = 0;
};

// The reference at the head of `text`, which begins with "&".
inline NumericReference ReadNumericReference(std::string_view text) {
  NumericReference reference;
  size_t at = 1;
  while (text.substr(at).starts_with(NumericReference::kMore)) {
    at += NumericReference::kMore.size();
    ++reference.more;
  }
  if (at + 1 >= text.size() || text[at] != '#' || text[at + 1] < '1' || text[at + 1] > '9') return {};
  const char* end = text.data() + std::min(text.size(), at + NumericReference::kLongest);
  const auto number = std::from_chars(text.data() + at + 1, end, reference.code);
  if (number.ec != std::errc() || number.ptr == end || *number.ptr != ';') return {};
  reference.length = static_cast<size_t>(number.ptr - text.data()) + 1;
  return reference;
}

inline void PutNumericReference(uint32_t code, std::string& out) {
  out += NumericReference::kStart;
  out += std::to_string(code);
  out += ';';
}

// `spelt` is a reference, with one "#38;" more, or less.
inline void PutReferenceLonger(std::string_view spelt, std::string& out) {
  out += '&';
  out += NumericReference::kMore;
  out += spelt.substr(1);
}
inline void PutReferenceShorter(std::string_view spelt, std::string& out) {
  out += '&';
  out += spelt.substr(1 + NumericReference::kMore.size());
}

// Where a reference may begin whose rest is still to come: the text's last "&", if nothing speaks against it; otherwise
// the text's end.
inline size_t OpenReference(std::string_view text) {
  const size_t start = text.rfind('&');
  if (start == std::string_view::npos) return text.size();
  std::string_view rest = text.substr(start + 1);
  while (rest.starts_with(NumericReference::kMore)) rest.remove_prefix(NumericReference::kMore.size());
  const bool could_be = rest.empty() || (rest[0] == '#' && rest.size() < NumericReference::kLongest &&
                                         rest.find_first_not_of("0123456789", 1) == std::string_view::npos);
  return could_be ? start : text.size();
}

// Goes through a text in order: `plain` gets each stretch between references and gives a count, `put` gets each
// reference for whose code `counts` is true, with its spelling. Gives the sum of the counts. "&" is no part of a longer
// character, neither in UTF-8 nor in GBK.
template <class Counts, class Plain, class Put>
uint64_t WalkReferences(std::string_view text, const Counts& counts, const Plain& plain, const Put& put) {
  uint64_t sum = 0;
  size_t from = 0;
  for (size_t at = text.find(NumericReference::kStart); at != std::string_view::npos;) {
    const NumericReference reference = ReadNumericReference(text.substr(at));
    const bool meant = reference.length > 0 && counts(reference.code);
    if (meant) {
      sum += plain(text.substr(from, at - from));
      put(text.substr(at, reference.length), reference);
      from = at + reference.length;
    }
    at = text.find(NumericReference::kStart, meant ? from : at + 1);
  }
  return sum + plain(text.substr(from));
}

}  // namespace karst
