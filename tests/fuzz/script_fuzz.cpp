// Any bytes as a script, run with and without what is remembered beside the code: nothing may tell the two apart, not
// even the read position behind an error. Endless scripts end after so many statements in both.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>
#include <string>

#include "outside/zebutil.h"
#include "platform/files.h"
#include "script/remembered.h"
#include "script/script.h"
#include "support/scratch_folder.h"

namespace {

constexpr size_t kLongestScript = 4096;
constexpr long kMostStatements = 3000;
constexpr size_t kLargestBlock = 1 << 20;
constexpr const char* kScriptName = "fuzz.pro";

// On while a script runs; the fuzzer itself has larger blocks.
bool limits_blocks = false;

std::string DescribeVariables(const CScript& script) {
  std::string lines = "frames " + std::to_string(script.m_nBeginCount) + "\n";
  for (const CVarCell* cell : script.m_Cells) {
    lines += std::string(cell->name.view()) + " " + std::to_string(cell->leixing) + " " +
             std::to_string(cell->nDupPos) + " " + std::to_string(cell->lVal) + " " + std::to_string(cell->i64Val);
    if (cell->string) lines += " " + std::string(cell->string->view());
    lines += "\n";
  }
  return lines;
}

std::string DescribeFiles() {
  std::string lines;
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    const std::string name = entry.path().filename().string();
    if (!entry.is_regular_file() || name == "karst.log") continue;
    lines += name + " " + std::to_string(entry.file_size()) + "\n";
  }
  return lines;
}

void RemoveWhatScriptsWrote() {
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    if (entry.path().filename() != kScriptName) std::filesystem::remove_all(entry.path());
  }
}

// Runs the script and gives everything that a host could see.
std::string Observe(CScript& script) {
  std::string report;
  try {
    report = "result " + std::to_string(script.Run(kScriptName)) + "\n";
  } catch (const CError& error) {
    report = "line " + std::to_string(script.GetCurLineNumber()) + ": " + error.what() + "\n";
  }
  script.CloseAllCatchedFileHandle();
  report += DescribeVariables(script);
  if (script.lpCodeBuffer) report.append(script.lpCodeBuffer, static_cast<size_t>(script.nCodeLen));
  return report + DescribeFiles();
}

// The same with an output control. Empty where memory ran out: then there is nothing to compare.
std::string RunOnce(bool remembering) {
  karst::SetRememberingForTests(remembering);
  karst::SetStatementBudgetForTests(kMostStatements);
  auto control = std::make_unique<karst::MemoryTextControl>();
  const karst::MemoryTextControl* text = control.get();
  const HWND window = karst::AddWindow(std::move(control));
  std::string report;
  limits_blocks = true;
  try {
    CScript script;
    script.hWnd = window;
    report = Observe(script) + "\noutput " + std::string(text->Text().view());
  } catch (const std::bad_alloc&) {
    report.clear();
  }
  limits_blocks = false;
  karst::DestroyWindow(window);
  RemoveWhatScriptsWrote();
  return report;
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
  return text;
}

// True if a built-in that takes a file's name is called, by its own name or by a number.
bool MayReachFiles(const std::string& lower_case) {
  for (const char* name : {"open", "fnprintf", "bmprintf", "fncat", "@"}) {
    if (lower_case.find(name) != lower_case.npos) return true;
  }
  return false;
}

// Handles are never the same twice, so a script that opens files differs from run to run by itself. File names must
// stay within the folder.
bool IsWorthRunning(const std::string& source) {
  if (source.size() > kLongestScript) return false;
  const std::string lower_case = LowerCase(source);
  if (lower_case.find("open") != source.npos || lower_case.find("@15") != source.npos) return false;
  if (!MayReachFiles(lower_case)) return true;
  return source.find_first_of("/\\") == source.npos && source.find("..") == source.npos &&
         source.find("%c") == source.npos;
}

// Handles far from the numbers that a script writes, so that none closes a file of the cache by chance.
bool SkipSmallHandles() {
  for (int i = 0; i < 100000; ++i) karst::CloseFile(karst::OpenForReading("/dev/null"));
  return true;
}

}  // namespace

// A text that a script doubles without end runs out of memory early.
void* operator new(size_t size, const std::nothrow_t&) noexcept {
  const bool refused = limits_blocks && size > kLargestBlock;
  return refused ? nullptr : std::malloc(size ? size : 1);
}
void* operator new(size_t size) {
  void* block = operator new(size, std::nothrow);
  if (!block) throw std::bad_alloc();
  return block;
}
void* operator new[](size_t size) { return operator new(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return operator new(size, std::nothrow); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, size_t) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete[](void* block, size_t) noexcept { std::free(block); }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const karst::testing::ScratchFolder folder;
  [[maybe_unused]] static const bool skipped = SkipSmallHandles();
  const std::string source(reinterpret_cast<const char*>(data), size);
  if (!IsWorthRunning(source)) return -1;
  std::ofstream(kScriptName, std::ios::binary) << source;
  const std::string remembered = RunOnce(true);
  const std::string plain = RunOnce(false);
  if (!remembered.empty() && !plain.empty() && remembered != plain) {
    std::fprintf(stderr, "remembering:\n%s\nreading afresh:\n%s\n", remembered.c_str(), plain.c_str());
    std::abort();
  }
  return 0;
}
