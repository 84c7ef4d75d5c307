// What each verb does, over one console. Each gives the exit status that its runs come to; lost output and signals are
// looked at by the caller.
#pragma once

#include "cli/base/console.h"
#include "cli/verbs/options.h"

namespace karst::cli {

int RunScript(const Options& options, Console& console);
int RunFilter(const Options& options, Console& console);
int ShowTree(const Options& options, Console& console);
int CheckSources(const Options& options, Console& console);

// 0, or kNotAllRead.
int ConvertRecords(const Options& options, Console& console);
int ShowRecords(const Options& options, Console& console);
int CountRecords(const Options& options, Console& console);
int SplitRecords(const Options& options, Console& console);

// The exit status for a run's result: its low 8 bits.
constexpr int StatusOf(int result) { return result & 0xFF; }

}  // namespace karst::cli
