// Where everything goes that a run says: standard output, standard error, and the output control among them.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "builtins/funcarray.h"
#include "options.h"
#include "output_file.h"
#include "writer.h"

namespace karst::cli {

// One for the whole process. Texts that reach the output control and the stream "stdout" come out in the order in
// which they were written, and nothing else reaches standard output.
class Console {
 public:
  // HostError if the file for messages cannot be made.
  explicit Console(const Options& options);
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;
  ~Console();

  // Makes this console the output of an engine object.
  void Connect(CFuncArray& engine);

  // A line of the program's own on standard error: "karst: " and the text.
  void Say(std::string_view text);
  // Lines as they are. Everything written so far comes out ahead of them.
  void Show(std::string_view lines);
  // A text in GBK, as standard error wants it.
  std::string Displayed(std::string_view gbk) const;
  // Text that stays until something else is written; a line of its own where standard error is no terminal.
  void ShowProgress(const std::string& text);
  void WipeProgress();

  bool ErrorIsTerminal() const { return error_is_terminal_; }
  Encoding TextEncoding() const { return encoding_; }

  // Brings out all that is buffered and reports what could not be written. False if anything was lost.
  bool Finish();

 private:
  static int32_t WriteStdOut(FileHandle handle, const char* bytes, int32_t count, uint32_t param);
  // Shows a text, and waits for Enter where there is somebody to press it. Gives the answer of an OK button.
  int AnswerBox(std::string_view text);
  LineState* LineOf(int file);
  Writer& MessageWriter(const std::string& target);
  bool ReportFailure(const Writer& writer, std::string_view name);

  Encoding encoding_;
  std::string messages_name_;
  bool error_is_terminal_;
  LineState terminal_line_;
  LineState output_line_;
  LineState error_line_;
  LineState messages_line_;
  std::unique_ptr<OutputFile> messages_file_;
  Writer output_;
  Writer error_;
  std::unique_ptr<Writer> messages_writer_;
  Writer* messages_ = nullptr;
  HWND control_ = nullptr;
};

}  // namespace karst::cli
