// NearestOf, by the number of slips between two words.
#include "cli/verbs/nearest_word.h"

#include <algorithm>

namespace karst::cli {
namespace {

// How many letters are to be put in, taken out, changed or, two side by side, exchanged.
size_t SlipsBetween(const std::string& a, const std::string& b) {
  std::vector<std::vector<size_t>> slips(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) {
    for (size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        slips[i][j] = i + j;
        continue;
      }
      const size_t changed = slips[i - 1][j - 1] + (a[i - 1] != b[j - 1]);
      slips[i][j] = std::min({changed, slips[i - 1][j] + 1, slips[i][j - 1] + 1});
      const bool exchanged = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (exchanged) slips[i][j] = std::min(slips[i][j], slips[i - 2][j - 2] + 1);
    }
  }
  return slips.back().back();
}

}  // namespace

std::string NearestOf(const std::string& typed, const std::vector<std::string>& words) {
  constexpr size_t kLettersForASlip = 3;
  constexpr size_t kMostLetters = 64;  // no word is near to a longer one
  if (typed.empty() || typed.size() > kMostLetters) return "";
  size_t least = std::max<size_t>(1, typed.size() / kLettersForASlip) + 1;
  std::string nearest;
  for (const std::string& word : words) {
    const size_t slips = word.starts_with(typed) ? 0 : SlipsBetween(typed, word);
    if (slips >= least) continue;
    least = slips;
    nearest = word;
  }
  return nearest;
}

}  // namespace karst::cli
