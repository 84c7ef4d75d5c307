// The file built-ins. A handle in a script's hands is a plain int: what is wrong with it shows as a result of -1.
#include <algorithm>
#include <cstdint>
#include <new>

#include "builtins/args.h"
#include "builtins/namedoutput.h"
#include "builtins/table.h"

namespace karst::builtin {
namespace {

unsigned StyleOf(std::string_view mode) {
  unsigned style = kStyleRead;
  for (const char letter : mode) {
    switch (letter) {
      case 'w': style |= kStyleWrite; break;
      case 'c': style |= kStyleCreate; break;
      case 'd': style |= kStyleDelete; break;
      case 'e': style |= kStyleExists; break;
      default: break;
    }
  }
  return style;
}

// The low 8 bits count, as a character.
SeekFrom OriginOf(int32_t code) {
  switch (static_cast<char>(code)) {
    case 'c':
    case 'C': return SeekFrom::kCurrent;
    case 'e':
    case 'E': return SeekFrom::kEnd;
    default: return SeekFrom::kStart;
  }
}

// Appends up to `count` bytes of the file to `data`, in steps that grow from `step` on, so that memory follows what
// the file holds and not what the script asks for. `done` says of each new piece whether to leave it at that. Gives
// the bytes read, or -1.
template <typename Done>
int64_t ReadInSteps(FileHandle file, CString& data, size_t count, size_t step, Done done) {
  do {  // at least once: what is wrong with a handle shows also where no byte is asked for
    const size_t start = data.size();
    const size_t wanted = std::min(count - start, step);
    data.Resize(start + wanted);
    const int64_t came = ReadFile(file, data.data() + start, wanted);
    data.Resize(start + static_cast<size_t>(std::max<int64_t>(came, 0)));
    if (came == -1) return -1;
    if (static_cast<size_t>(came) < wanted || done(data.view().substr(start))) break;
    step *= 2;
  } while (data.size() < count);
  return static_cast<int64_t>(data.size());
}

constexpr size_t kReadStep = 64 * 1024;
constexpr size_t kLineStep = 1024;

// Where the line in `data`, which was read from position `start` on, ends; moves the file behind its line end.
//
// CHOICE: the CR is searched byte by byte. No GBK character holds one, so this finds what a search by characters
// finds; and where a line begins or ends with half a character, that half does not swallow the line end.
size_t EndLine(FileHandle file, int64_t start, std::string_view data) {
  const size_t end = data.find('\r');
  if (end == std::string_view::npos) return data.size();
  const size_t behind = end + 1;
  char next = 0;
  if (behind < data.size()) {
    next = data[behind];
  } else if (ReadFile(file, &next, 1) != 1) {
    return end;
  }
  SeekFile(file, start + static_cast<int64_t>(behind) + (next == '\n' ? 1 : 0), SeekFrom::kStart);
  return end;
}

// Reads one line into `line` and gives true, or false at the end of the file and on failure.
bool NextLine(FileHandle file, size_t most, CString& line) {
  // CHOICE: a file that cannot be positioned (a pipe) fails here, before any of it is read and could be lost.
  const int64_t start = SeekFile(file, 0, SeekFrom::kCurrent);
  if (start == -1) return false;
  const auto has_line_end = [](std::string_view piece) { return piece.find('\r') != std::string_view::npos; };
  // SPEED: reading stops at the piece with the line end, not at `most`; the position is set behind the line anyway.
  if (ReadInSteps(file, line, most, kLineStep, has_line_end) <= 0) return false;
  line.Resize(EndLine(file, start, line.view()));
  return true;
}

}  // namespace

// Open (name, mode): a handle, or -1.
void Open(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("Open"));
  const CString& name = args.Text(1);
  const unsigned style = StyleOf(args.Text(2).view());
  result->SetVal((style & kStyleDelete) != 0 ? self->DeleteMappedFile(name)
                                             : OpenWithStyle(name, style, self->FileOwner()));
}

// Close (handle): 0, or -1.
void Close(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("Close"));
  result->SetVal(CloseFile(args.Int(1)));
}

// Seek (handle, offset, origin): the new position, or -1.
void Seek(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("Seek"));
  const FileHandle file = args.Int(1);
  const int32_t offset = args.Int(2);
  const int64_t position = SeekFile(file, offset, OriginOf(args.Int(3)));
  // LIMIT: the file is positioned, but a position past the int range is told as the largest int.
  result->SetVal(static_cast<int32_t>(std::min<int64_t>(position, INT32_MAX)));
}

// Read (handle, &target, count): the bytes read, 0 at the end, or -1. The target's text ends at the first NUL read.
void Read(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("Read"));
  const FileHandle file = args.Int(1);
  if (file == 0) self->halt(" NULL file handle");
  args.TextRef(2);
  const int32_t count = args.Int(3);
  WorkText data(self);
  int64_t came = -1;
  try {
    if (count >= 0) came = ReadInSteps(file, *data, count, kReadStep, [](std::string_view) { return false; });
  } catch (const std::bad_alloc&) {
    HaltForBytes(self, int64_t{count} + 1);
  }
  args.SetText(2, came == -1 ? std::string_view() : data->view());
  result->SetVal(static_cast<int32_t>(came));
}

// Write (handle, text, count): the bytes written, or -1. A count past the text's length writes its NUL too.
void Write(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("Write"));
  const FileHandle file = args.Int(1);
  if (file == 0) self->halt("NULL file handle");
  const CString& text = args.Text(2);
  const size_t asked = static_cast<uint32_t>(args.Int(3));
  const std::string_view with_nul(text.c_str(), text.size() + 1);
  result->SetVal(static_cast<int32_t>(WriteFile(file, with_nul.substr(0, asked))));
}

// FnCat (name, text): appends the text to the named output. The bytes written, or -1.
void FnCat(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("FnCat"));
  const CString& name = args.Text(1);
  const CString& text = args.Text(2);
  NamedOutput output(self, name);
  result->SetVal(output.Served() ? output.Deliver(text.view()) : -1);
}

// ReadLine (handle, &target, most): the length of the line's text, or -1 at the end of the file and on failure.
void ReadLine(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("ReadLine"));
  const FileHandle file = args.Int(1);
  if (file == 0) self->halt("NULL file handle");
  args.TextRef(2);
  const int32_t most = args.Int(3);
  result->SetVal(-1);
  if (most < 0) return;
  WorkText line(self);
  const bool read = NextLine(file, most, *line);
  const int32_t length = args.SetText(2, read ? line->view() : std::string_view());
  if (read) result->SetVal(length);
}

}  // namespace karst::builtin
