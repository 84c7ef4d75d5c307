// Runs of an interpreter with and without what is remembered beside the code, for the harnesses that compare them. For
// one source file of a program: the operators that allocate are replaced here.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "helpers/zebutil.h"
#include "platform/files.h"
#include "script/remembered.h"
#include "script/script.h"

namespace karst::testing {

// A text that a script doubles without end runs out of memory early. With and without what is remembered texts grow by
// other steps, so that runs with a refused block are not compared.
constexpr size_t kLargestBlock = 1 << 20;
inline bool limits_blocks = false;  // on while a script runs; the fuzzer itself has larger blocks
inline bool refused_block = false;

// Files of the harness itself; whatever else is in the folder was written by a script.
constexpr std::string_view kOwnFiles = "fuzz.";

inline std::string stream_of_run;  // what went to "stdout"

inline int32_t CollectStream(FileHandle, const char* bytes, int32_t count, uint32_t) {
  stream_of_run.append(bytes, static_cast<size_t>(count));
  return count;
}

inline std::string DescribeVariables(const CScript& script) {
  std::string lines = "frames " + std::to_string(script.m_nBeginCount) + "\n";
  for (const CVarCell* cell : script.m_Cells) {
    lines += std::string(cell->name.view()) + " " + std::to_string(cell->leixing) + " " +
             std::to_string(cell->nDupPos) + " " + std::to_string(cell->lVal) + " " + std::to_string(cell->i64Val);
    if (cell->string) lines += " " + std::string(cell->string->view());
    lines += "\n";
  }
  return lines;
}

inline std::string DescribeFiles() {
  std::string lines;
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    const std::string name = entry.path().filename().string();
    if (!entry.is_regular_file() || name == "karst.log") continue;
    lines += name + " " + std::to_string(entry.file_size()) + "\n";
  }
  return lines;
}

inline void RemoveWhatScriptsWrote() {
  for (const auto& entry : std::filesystem::directory_iterator(".")) {
    if (!entry.path().filename().string().starts_with(kOwnFiles)) std::filesystem::remove_all(entry.path());
  }
}

// What `run` gives, or the line and the text of its error.
template <typename Interpreter, typename Run>
std::string ResultOf(Interpreter& interpreter, Run run) {
  try {
    return "result " + std::to_string(run(interpreter)) + "\n";
  } catch (const CError& error) {
    return "line " + std::to_string(interpreter.LineOf(error)) + ": " + error.what() + "\n";
  }
}

// Lets `observe` use a fresh interpreter, and gives its report with everything else that a host could see.
template <typename Interpreter, typename Body>
std::string ObserveOnce(bool remembering, Body observe) {
  SetRememberingForTests(remembering);
  auto control = std::make_unique<MemoryTextControl>();
  const MemoryTextControl* text = control.get();
  const HWND window = AddWindow(std::move(control));
  std::string report;
  stream_of_run.clear();
  limits_blocks = true;
  try {
    Interpreter interpreter;
    interpreter.hWnd = window;
    interpreter.m_hStdOut = 1;
    interpreter.m_pfnStdOutWrite = CollectStream;
    report = observe(interpreter);
    interpreter.CloseAllCatchedFileHandle();
    report += DescribeVariables(interpreter);
    if (interpreter.lpCodeBuffer) report.append(interpreter.lpCodeBuffer, static_cast<size_t>(interpreter.nCodeLen));
  } catch (const std::bad_alloc&) {
    refused_block = true;
  }
  limits_blocks = false;
  report += DescribeFiles() + "\noutput " + std::string(text->Text().view()) + "\nstdout " + stream_of_run;
  DestroyWindow(window);
  RemoveWhatScriptsWrote();
  return report;
}

template <typename Interpreter, typename Body>
void CompareRuns(Body observe) {
  refused_block = false;
  const std::string remembered = ObserveOnce<Interpreter>(true, observe);
  const std::string plain = ObserveOnce<Interpreter>(false, observe);
  if (refused_block || remembered == plain) return;
  std::fprintf(stderr, "remembering:\n%s\nreading afresh:\n%s\n", remembered.c_str(), plain.c_str());
  std::abort();
}

// Handles are never the same twice, so a script that opens files differs from run to run by itself. File names must
// stay within the folder, where a built-in that takes one is called by its name or by a number.
inline bool IsWorthRunning(const std::string& source) {
  constexpr size_t kLongestScript = 4096;
  if (source.size() > kLongestScript) return false;
  std::string lower_case = source;
  std::transform(source.begin(), source.end(), lower_case.begin(), [](unsigned char c) { return std::tolower(c); });
  const auto holds = [&](const char* text) { return lower_case.find(text) != source.npos; };
  if (holds("open") || holds("@15")) return false;
  if (!holds("fnprintf") && !holds("bmprintf") && !holds("fncat") && !holds("@")) return true;
  return source.find_first_of("/\\") == source.npos && !holds("..") && source.find("%c") == source.npos;
}

// Handles far from the numbers that a script writes, so that none closes a file of the cache by chance.
inline bool SkipSmallHandles() {
  for (int i = 0; i < 100000; ++i) CloseFile(OpenForReading("/dev/null"));
  return true;
}

inline void WriteBytes(const char* name, std::string_view bytes) { std::ofstream(name, std::ios::binary) << bytes; }

}  // namespace karst::testing

void* operator new(size_t size, const std::nothrow_t&) noexcept {
  const bool refused = karst::testing::limits_blocks && size > karst::testing::kLargestBlock;
  karst::testing::refused_block |= refused;
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
