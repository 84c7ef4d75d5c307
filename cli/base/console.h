// Where everything goes that a run says: standard output, standard error, and the output control among them.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>

#include "builtins/funcarray.h"
#include "cli/base/output_file.h"
#include "cli/base/output_log.h"
#include "cli/base/reversible_encoding.h"
#include "cli/base/writer.h"

namespace karst::cli {

struct ConsoleOptions {
  std::string messages = "stdout";  // "stdout", "stderr" or a file name: where the output control goes
  FilesRead inputs;                 // with the encoding of standard output and standard error
  std::optional<Encoding> stream;   // of the stream "stdout", each byte kept; none: that of standard output
};

// One for the whole process, and for one thread, but for the threads whose output is diverted. Texts that reach the
// output control and the stream "stdout" come out in the order in which they were written, and nothing else reaches
// standard output.
class Console {
 public:
  // HostError if the file for messages cannot be made.
  explicit Console(const ConsoleOptions& options);
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;
  ~Console();

  // Makes this console the output of an engine object.
  void Connect(CFuncArray& engine);

  // A line of the program's own on standard error: "karst: " and the text.
  void Say(std::string_view text);
  // Lines as they are. Everything written so far comes out before them.
  void Show(std::string_view lines);
  // A line of the program's own that comes once for each `key`.
  void SayOnce(std::string_view key, std::string_view text);
  // A text in GBK, as standard error wants it.
  std::string Displayed(std::string_view gbk) const;
  // Text that stays until something else is written; a line of its own where standard error is no terminal.
  void ShowProgress(const std::string& text);
  void WipeProgress();

  // From here on all that this thread brings to the console goes to `log` (null: out again), as if it had come out: a
  // message box is answered at once. The log outlives the diversion.
  static void Divert(OutputLog* log);
  static OutputLog* Diverted();
  // Brings out what a log holds; what concerns named files goes to `deliver`.
  using Delivery = std::function<void(const OutputLog::Entry&)>;
  void Replay(const OutputLog& log, const Delivery& deliver);
  // Asked first with the text of a message box, in GBK. True if the user has answered it there.
  using MessageBoxTaker = std::function<bool(std::string_view gbk)>;
  void OnMessageBox(MessageBoxTaker taker) { box_taker_ = std::move(taker); }

  bool ErrorIsTerminal() const { return error_is_terminal_; }
  Encoding TextEncoding() const { return encoding_; }

  // Brings out all that is buffered and reports what could not be written: 0, or the exit status for what was lost.
  int Finish();

 private:
  void BringOut(const OutputLog::Entry& entry, const Delivery& deliver);
  void WriteControl(std::string_view text);
  void BringOutControl(std::string_view text);
  void BringOutStream(std::string_view text);
  void FinishStream();
  static int32_t WriteStdOut(FileHandle handle, const char* bytes, int32_t count, uint32_t param);
  // Shows a text, and waits for Enter where there is somebody to press it. Gives the answer of an OK button.
  int AnswerBox(std::string_view text);
  LineState* LineOf(int file);
  Writer& MessageWriter(const std::string& target);
  int ReportFailure(const Writer& writer, std::string_view name);
  int FinishMessages();

  Encoding encoding_;
  std::optional<Encoding> stream_encoding_;
  ReversibleUtf8Stream stream_;
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
  MessageBoxTaker box_taker_;
  std::set<std::string, std::less<>> said_once_;
};

// A diversion of this thread's output for as long as the object lives.
class Diversion {
 public:
  explicit Diversion(OutputLog& log) { Console::Divert(&log); }
  Diversion(const Diversion&) = delete;
  Diversion& operator=(const Diversion&) = delete;
  ~Diversion() { Console::Divert(nullptr); }
};

}  // namespace karst::cli
