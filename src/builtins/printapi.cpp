// The format built-ins. They differ only in where the text goes: FormatCall makes the text for all of them.
#include <memory>
#include <new>

#include "builtins/args.h"
#include "builtins/changetext.h"
#include "builtins/namedoutput.h"
#include "builtins/table.h"
#include "helpers/zebutil.h"

namespace karst::builtin {
namespace {

// LIMIT: a call with this many arguments or more is refused.
constexpr int kTooManyArguments = 50;

constexpr char kBadFormat[] = "?printf()函数参数错误...";
constexpr char kBadNamedFormat[] = "?printf()函数参数错误!...";

// A format built-in: its row, how it calls itself in the count messages, and how many arguments lead its values.
struct FormatBuiltin {
  consteval FormatBuiltin(std::string_view name, const char* shown)
      : row(BuiltinRow(name)), title(shown), leading(RequiredArguments(row.kinds)) {}

  const KernelFunctionRow& row;
  const char* title;
  int leading;
};

// One call: the count is checked first, then the leading arguments, of which the format is the last, are read in
// order, and at last the text is built.
class FormatCall {
 public:
  FormatCall(CFuncArray* self, int argc, int first, const FormatBuiltin& builtin)
      : args(self, argc, first, builtin.row), self_(self), first_(first), leading_(builtin.leading) {
    if (argc < leading_) self->halt("%s函数 参数数目至少应该为%d个...", builtin.title, leading_);
    if (argc >= kTooManyArguments) self->halt("%s函数参数太多, 超过50个...", builtin.title);
  }

  void ReadFormat() {
    format_ = args.Text(leading_);
    self_->ProcessArgList(words_, first_ + leading_, args.Count() - leading_);
  }

  // Makes the text. False if format and values do not match.
  [[nodiscard]] bool Build(CString& text) { return FormatWords(text, format_, words_); }
  void BuildOrHalt(CString& text, const char* message) {
    if (!Build(text)) self_->halt("%s", message);
  }

  Arguments args;

 private:
  CFuncArray* self_;
  int first_;
  int leading_;
  const char* format_ = nullptr;
  WordList words_;
};

// A handle in a cell of any kind: what is no integer is no handle.
FileHandle HandleIn(CFuncArray* self, const CVarCell* cell) {
  const bool is_integer = cell->leixing == kInt || cell->leixing == kInt64;
  return is_integer ? self->GetIntArg(cell) : 0;
}

constexpr int kSmallBuffer = 4000;
constexpr int kLargeBuffer = 60000;  // LIMIT: a converted text that is longer is refused

// Appends the converted text to the file. -1 on failure.
int32_t WriteConverted(CFuncArray* self, NamedOutput& output, const char* text, const char* conversion) {
  char small[kSmallBuffer];
  int length = MakeBM(text, small, kSmallBuffer, conversion);
  if (length != -1) return output.Deliver({small, static_cast<size_t>(length)});
  const std::unique_ptr<char[]> large(new (std::nothrow) char[kLargeBuffer]);
  if (!large) HaltForBytes(self, kLargeBuffer);
  length = MakeBM(text, large.get(), kLargeBuffer, conversion);
  if (length != -1) return output.Deliver({large.get(), static_cast<size_t>(length)});
  output.Close();
  self->MessageBoxA("bmprintf()缓冲区太小...");
  return -1;
}

}  // namespace

// printf (format, values...): to the host's output control, as far as its limit goes. The length of the whole text.
//
// CHOICE: %c of 0 makes a NUL. A file gets it as any other byte; a text, here and in sprintf and bmprintf, ends there.
void Printf(CFuncArray* self, int argc, int first, CValue* result) {
  FormatCall call(self, argc, first, {"printf", " printf"});
  call.ReadFormat();
  WorkText text(self);
  call.BuildOrHalt(*text, kBadFormat);
  text->CutAtNul();
  self->MustBeTold(self->eprintf("%s", text->c_str()));
  result->SetVal(text->GetLength());
}

// fprintf (handle, format, values...): to an open file. The bytes written, or -1.
void Fprintf(CFuncArray* self, int argc, int first, CValue* result) {
  FormatCall call(self, argc, first, {"fprintf", "fprintf()"});
  const FileHandle file = HandleIn(self, call.args.Cell(1));
  call.ReadFormat();
  WorkText text(self);
  call.BuildOrHalt(*text, kBadFormat);
  result->SetVal(static_cast<int32_t>(WriteFile(file, text->view())));
}

// sprintf (&target, format, values...): to a variable. The length of its new text.
void Sprintf(CFuncArray* self, int argc, int first, CValue* result) {
  FormatCall call(self, argc, first, {"sprintf", "sprintf()"});
  call.args.TextRef(1);
  call.ReadFormat();
  result->SetVal(ChangeText(self, call.args.Cell(1), [&call](CString& text) {
    call.BuildOrHalt(text, kBadFormat);
    text.CutAtNul();
  }));
}

// fnprintf (name, format, values...): to the named output. The bytes written, or -1; where nothing serves the name
// the format is not looked at.
void Fnprintf(CFuncArray* self, int argc, int first, CValue* result) {
  FormatCall call(self, argc, first, {"fnprintf", "fnprintf()"});
  const CString& name = call.args.Text(1);
  call.ReadFormat();
  result->SetVal(-1);
  NamedOutput output(self, name);
  if (!output.Served()) return;
  WorkText text(self);
  call.BuildOrHalt(*text, kBadNamedFormat);
  result->SetVal(output.Deliver(text->view()));
}

// bmprintf (name, conversion, format, values...): appended to a file after a conversion. The bytes written, or -1,
// also for a format that does not match its values and for a file that is open in this run.
void Bmprintf(CFuncArray* self, int argc, int first, CValue* result) {
  FormatCall call(self, argc, first, {"bmprintf", "bmprintf()"});
  const CString& name = call.args.Text(1);
  const CString& conversion = call.args.Text(2);
  call.ReadFormat();
  result->SetVal(-1);
  NamedOutput output(self, name, NamedOutput::Kind::kConverted);
  WorkText text(self);
  if (output.Served() && call.Build(*text)) {
    result->SetVal(WriteConverted(self, output, text->c_str(), conversion));
  }
}

}  // namespace karst::builtin
