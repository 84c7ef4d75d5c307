// What pages and server say to each other, as JSON.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/windows/page_board.h"

namespace karst::cli {

// What a page reports. Texts are UTF-8.
struct PageReport {
  enum class Kind { kLink, kForm, kEnter, kPrinted, kAnswer, kLeave };
  using Fields = std::vector<std::pair<std::string, std::string>>;

  Kind kind = Kind::kLeave;
  std::string viewer;    // kLeave
  uint64_t page = 0;     // kLink, kForm, kEnter: the number of the file that the user saw
  uint64_t message = 0;  // kAnswer
  std::string target;    // kLink, kForm
  Fields query;          // kForm
  Fields entered;        // kLink, kForm, kEnter: the values of fields, under the names of their macros
};

std::string StateText(const PageState& state);
// Nothing for what is no report.
std::optional<PageReport> ReadReport(std::string_view text);

}  // namespace karst::cli
