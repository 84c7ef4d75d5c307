// Case files: scripts and filters with what their runs must leave behind, as tests/cases/README.md describes them.
// Everything here is UTF-8 as it stands in the file, lines joined by LF; turning it into what the engine reads is
// done by the functions at the end.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace karst::testing {

// One section: its text and how it is written.
struct CaseText {
  std::string name;  // of the file, in sections that have one
  std::string text;
  bool raw = false;  // escapes stand for bytes, lines have no ends
};

struct Case {
  std::string place;  // file and line
  std::string topic;  // folder and file, without the ending
  std::string title;
  std::string fault;  // what is wrong with the case itself; empty if nothing is

  std::optional<CaseText> script;
  std::optional<CaseText> filter;
  std::optional<CaseText> records;
  std::vector<CaseText> files;

  CaseText output;
  CaseText stream;
  std::string error;
  std::optional<int> result;
  std::vector<CaseText> expected_files;
  std::optional<CaseText> tree;
  std::optional<CaseText> variables;
  std::string findings;  // what a check of the source finds, a line each
};

// The cases of one file. A file that cannot be read or has no case gives one case with a fault.
std::vector<Case> ReadCaseFile(const std::string& path);
// The cases of all files `folder`/*/*.case, in the order of their names.
std::vector<Case> ReadAllCases(const std::string& folder);
// A name for the test of a case: letters, digits and underscores.
std::string TestNameOf(const Case& test_case);

// A text with its copies, "@@(N*TEXT@@)", written out.
std::string WriteOutCopies(std::string text);
// The bytes of an input.
std::string InputBytes(const CaseText& input);
// The bytes of a record file.
std::string RecordBytes(const CaseText& records);
// What the engine wrote, as an expectation shows it.
std::string Shown(std::string_view bytes);
// A text without the line ends at its end.
std::string_view WithoutLastLineEnds(std::string_view text);

}  // namespace karst::testing
