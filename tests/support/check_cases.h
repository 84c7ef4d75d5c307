// Sources with the findings that checking them must give: a case file, or fences of a Markdown page:
//
//   ```karst-check         a script; karst-check-filter: a filter. "raw" after the word: as raw text of a case file.
//   ```findings            "line:column: severity: text [rule]", one finding a line
#pragma once

#include <string>
#include <vector>

#include "cli/check/check.h"

namespace karst::testing {

struct CheckCase {
  std::string place;  // file and line
  std::string bytes;
  cli::check::SourceKind kind;
  std::string findings;
};

// The cases of a file, given by its path. A fence that lacks its partner fails the running test.
std::vector<CheckCase> ReadCheckCases(const std::string& path);

// The fences that are called `word`, each as a case without findings; those whose next fence holds `unless` are left
// out.
std::vector<CheckCase> ReadSources(const std::string& path, const std::string& word, const std::string& unless);

// The findings of at least that severity, as a case writes them.
std::string FindingLines(const cli::check::CheckedSource& checked, cli::check::Severity least,
                         cli::check::Language language = cli::check::Language::kEnglish);

}  // namespace karst::testing
