// One open file for output: buffered, converted, with its first failure kept.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "cli/base/encoding.h"

namespace karst::cli {

// What a terminal shows on its current line. Streams that end on the same terminal share one.
struct LineState {
  bool at_start = true;
  bool shows_progress = false;  // the line holds a passing text, which the next output wipes
};

class Writer {
 public:
  enum class Buffering { kBlocks, kNone };

  // `on_failure` is called once, at the first write that fails. The file is not closed.
  Writer(int file, Encoding encoding, Buffering buffering, LineState* line, std::function<void()> on_failure);

  // Texts of the engine, in GBK, become text in the writer's encoding.
  void WriteGbk(std::string_view text);
  // Bytes that are in their final form already.
  void WriteRaw(std::string_view bytes);
  // Goes to a new line unless it is at the start of one.
  void StartLine();
  void Flush();
  // Flushes all, also half a character that was never completed.
  void Finish();

  // The errno of the first failure, 0 if there was none. What is written after a failure is dropped.
  int Failure() const { return failure_; }

 private:
  void FlushIfDue();
  void WriteOut(std::string_view bytes);

  int file_;
  Encoding encoding_;
  Buffering buffering_;
  LineState* line_;
  std::function<void()> on_failure_;
  Utf8Stream utf8_;
  std::string buffer_;
  int failure_ = 0;
};

// Why a write failed, for a message.
std::string ReasonOf(int error);

// Writes all bytes, waiting where the file is not ready. 0, or the errno of the failure.
int WriteAll(int file, std::string_view bytes);

}  // namespace karst::cli
