// Console: three writers, the output control in front of one of them, and the callback of the stream "stdout".
#include "cli/base/console.h"

#include <unistd.h>

#include <cstring>

#include "cli/base/exit_status.h"
#include "cli/base/standard_input.h"
#include "cli/base/stop_request.h"

namespace karst::cli {
namespace {

constexpr FileHandle kStdOutHandle = 1;  // any handle but -1 shows the engine that there is a stream

// The stream's callback carries no pointer, so it finds the console here.
Console* the_console = nullptr;

thread_local OutputLog* diverted = nullptr;

// A reader at a terminal sees each text at once; a file or a pipe gets blocks.
Writer::Buffering BufferingOf(int file) { return isatty(file) ? Writer::Buffering::kNone : Writer::Buffering::kBlocks; }

}  // namespace

Console::Console(const ConsoleOptions& options)
    : encoding_(options.inputs.encoding),
      stream_encoding_(options.stream),
      messages_name_(options.messages),
      error_is_terminal_(isatty(STDERR_FILENO)),
      output_(STDOUT_FILENO, encoding_, BufferingOf(STDOUT_FILENO), LineOf(STDOUT_FILENO), RequestStop),
      error_(STDERR_FILENO, encoding_, BufferingOf(STDERR_FILENO), LineOf(STDERR_FILENO), [] {}),
      messages_(&MessageWriter(options.messages)) {
  if (options.messages != "stdout" && options.messages != "stderr") {
    messages_file_ = std::make_unique<OutputFile>(options.messages, options.inputs);
    messages_writer_ = std::make_unique<Writer>(messages_file_->Descriptor(), encoding_, Writer::Buffering::kBlocks,
                                                &messages_line_, RequestStop);
    messages_ = messages_writer_.get();
  }
  control_ = AddWindow(std::make_unique<ForwardingTextControl>([this](std::string_view text) { WriteControl(text); }));
  SetMessageBoxHandler([this](HWND, const char* text, const char*, unsigned) { return AnswerBox(text); });
  the_console = this;
}

Console::~Console() {
  the_console = nullptr;
  SetMessageBoxHandler({});
  DestroyWindow(control_);
}

void Console::Divert(OutputLog* log) { diverted = log; }

OutputLog* Console::Diverted() { return diverted; }

void Console::Replay(const OutputLog& log, const Delivery& deliver) {
  log.ForEach([&](const OutputLog::Entry& entry) { BringOut(entry, deliver); });
}

void Console::BringOut(const OutputLog::Entry& entry, const Delivery& deliver) {
  switch (entry.kind) {
    case OutputLog::Kind::kControl: BringOutControl(entry.bytes); break;
    case OutputLog::Kind::kStdOut: BringOutStream(entry.bytes); break;
    case OutputLog::Kind::kNamed:
    case OutputLog::Kind::kNamedConverted:
    case OutputLog::Kind::kNamedRefused: deliver(entry); break;
    case OutputLog::Kind::kShown: Show(entry.bytes); break;
    case OutputLog::Kind::kNotice: SayOnce(entry.name, entry.bytes); break;
    case OutputLog::Kind::kBox: AnswerBox(entry.bytes); break;
  }
}

void Console::WriteControl(std::string_view text) {
  if (diverted) return diverted->Add(OutputLog::Kind::kControl, text);
  BringOutControl(text);
}

void Console::BringOutControl(std::string_view text) {
  if (messages_ == &output_) FinishStream();
  messages_->WriteGbk(text);
}

void Console::BringOutStream(std::string_view text) {
  if (!stream_encoding_) return output_.WriteGbk(text);
  if (*stream_encoding_ == Encoding::kGbk) return output_.WriteRaw(text);
  std::string utf8;
  stream_.Convert(text, utf8);
  output_.WriteRaw(utf8);
}

// What the stream holds back comes out before what is written by another way.
void Console::FinishStream() {
  if (stream_encoding_ != Encoding::kUtf8) return;
  std::string utf8;
  stream_.Finish(utf8);
  if (!utf8.empty()) output_.WriteRaw(utf8);
}

int Console::AnswerBox(std::string_view text) {
  constexpr int kOk = 1;
  if (diverted) {
    diverted->Add(OutputLog::Kind::kBox, text);
    return kOk;
  }
  if (box_taker_ && box_taker_(text)) return kOk;
  Show(Displayed(text) + "\n");
  if (!error_is_terminal_ || !isatty(STDIN_FILENO)) return kOk;
  Show("[Enter] ");
  terminal_line_.at_start = WaitForEnter();
  return kOk;
}

LineState* Console::LineOf(int file) {
  if (isatty(file)) return &terminal_line_;
  return file == STDOUT_FILENO ? &output_line_ : &error_line_;
}

Writer& Console::MessageWriter(const std::string& target) { return target == "stderr" ? error_ : output_; }

void Console::Connect(CFuncArray& engine) {
  engine.hWnd = control_;
  engine.m_hStdOut = kStdOutHandle;
  engine.m_pfnStdOutWrite = WriteStdOut;
}

int32_t Console::WriteStdOut(FileHandle, const char* bytes, int32_t count, uint32_t) {
  const std::string_view text(bytes, static_cast<size_t>(count));
  if (diverted) {
    diverted->Add(OutputLog::Kind::kStdOut, text);
    return count;
  }
  the_console->BringOutStream(text);
  return the_console->output_.Failure() == 0 ? count : -1;
}

std::string Console::Displayed(std::string_view gbk) const {
  return encoding_ == Encoding::kUtf8 ? ToUtf8(gbk) : std::string(gbk);
}

void Console::Say(std::string_view text) {
  std::string line = "karst: ";
  line += text;
  line += '\n';
  Show(line);
}

void Console::SayOnce(std::string_view key, std::string_view text) {
  if (diverted) return diverted->Add(OutputLog::Kind::kNotice, text, key);
  if (said_once_.emplace(key).second) Say(text);
}

void Console::Show(std::string_view lines) {
  if (diverted) return diverted->Add(OutputLog::Kind::kShown, lines);
  output_.Flush();
  messages_->Flush();
  error_.StartLine();
  error_.WriteRaw(lines);
  error_.Flush();
}

void Console::ShowProgress(const std::string& text) {
  if (!error_is_terminal_) return Show(text + "\n");
  error_.StartLine();
  terminal_line_.shows_progress = false;
  error_.WriteRaw("\r" + text + "\x1B[K");
  terminal_line_.shows_progress = true;
}

void Console::WipeProgress() {
  if (!terminal_line_.shows_progress) return;
  terminal_line_.shows_progress = false;
  error_.WriteRaw("\r\x1B[K");
  terminal_line_.at_start = true;
}

int Console::Finish() {
  FinishStream();
  output_.Finish();
  messages_->Finish();
  const int output = ReportFailure(output_, "standard output");
  const int messages = FinishMessages();
  return messages != 0 ? messages : output;
}

int Console::FinishMessages() {
  if (!messages_writer_) return messages_ == &error_ && error_.Failure() != 0 ? kOutputFailed : 0;
  const int status = ReportFailure(*messages_writer_, messages_name_);
  if (status != 0 || messages_file_->Close()) return status;
  Say("cannot write " + messages_name_ + ": " + std::strerror(errno));
  return kOutputFailed;
}

int Console::ReportFailure(const Writer& writer, std::string_view name) {
  if (writer.Failure() == 0) return 0;
  if (&writer == &output_ && EndsQuietly(writer.Failure())) return kReaderGone;
  Say("cannot write " + std::string(name) + ": " + ReasonOf(writer.Failure()));
  return kOutputFailed;
}

}  // namespace karst::cli
