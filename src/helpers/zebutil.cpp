// The utility library: the script error, whole files, full paths, conversion for output.
#include "helpers/zebutil.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/files.h"
#include "text/charset.h"
#include "text/mbtext.h"

static_assert(std::is_trivially_copyable_v<CError> && std::is_standard_layout_v<CError>);

namespace {

using karst::FileHandle;

// Closes a file at the end of a scope.
class ScopedFile {
 public:
  explicit ScopedFile(FileHandle file) : file_(file) {}
  ScopedFile(const ScopedFile&) = delete;
  ScopedFile& operator=(const ScopedFile&) = delete;
  ~ScopedFile() { karst::CloseFile(file_); }
  bool IsOpen() const { return file_ != karst::kNoFile; }
  FileHandle Get() const { return file_; }

 private:
  FileHandle file_;
};

// LIMIT: a larger file cannot be read whole: its length would be no int.
constexpr int64_t kMostContent = 0x7ffffff0;
constexpr size_t kReadStep = 64 * 1024;

// Reads to the end, whatever size the file claims to have.
bool ReadWhole(FileHandle file, CString& content) {
  const int64_t size = karst::FileSize(file);
  if (size > kMostContent) return false;
  // One byte more than the size shows at once that the end was reached.
  size_t step = size > 0 ? static_cast<size_t>(size) + 1 : kReadStep;
  for (;;) {
    const size_t old_size = content.size();
    if (old_size + step > static_cast<size_t>(kMostContent)) step = static_cast<size_t>(kMostContent) - old_size;
    if (step == 0) return false;
    content.Resize(old_size + step);
    const int64_t count = karst::ReadFile(file, content.data() + old_size, step);
    content.Resize(old_size + static_cast<size_t>(std::max<int64_t>(count, 0)));
    if (count < 0) return false;
    if (static_cast<size_t>(count) < step) return true;
    step = std::max(kReadStep, content.size());
  }
}

// The line, from 1, that the byte at `offset` stands in. CR LF, a lone CR and a lone LF each end a line.
int LineAt(std::string_view text, size_t offset) {
  int line = 1;
  for (size_t i = 0; i < offset; ++i) {
    if (text[i] == '\n' || (text[i] == '\r' && text.substr(i + 1, 1) != "\n")) ++line;
  }
  return line;
}

[[noreturn]] void ThrowNotGbk(std::string_view utf8, size_t offset, const char* path) {
  const int line = LineAt(utf8, offset);
  const char32_t code = karst::DecodeUtf8(utf8.substr(offset)).code;
  CString message;
  if (code == karst::kNoCharacter) {
    message.Format("文件中有不是UTF-8的字节0x%02X, 文件[%s]...", static_cast<unsigned char>(utf8[offset]), path);
  } else {
    message.Format("文件中有GBK没有的字符U+%04X, 文件[%s]...", static_cast<unsigned>(code), path);
  }
  throw CError(message, -1, line);
}

void TurnIntoGbk(CString& content, const char* path) {
  const std::string_view utf8 = content.view().substr(karst::kByteOrderMark.size());
  std::string gbk;
  size_t bad_offset = 0;
  if (!karst::Utf8ToGbk(utf8, gbk, &bad_offset)) ThrowNotGbk(utf8, bad_offset, path);
  content = std::string_view(gbk);
}

bool ReadFileNamed(const char* path, CString& content) {
  const ScopedFile file(karst::OpenForReading(path));
  return file.IsOpen() && ReadWhole(file.Get(), content);
}

// The path without empty parts, "." and "..", always with a slash in front.
CString Resolved(std::string_view path) {
  std::vector<std::string_view> parts;
  while (!path.empty()) {
    const std::string_view part = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(part.size() + 1, path.size()));
    if (part == "..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.push_back(part);
    }
  }
  CString resolved;
  for (const std::string_view part : parts) (resolved += '/') += part;
  if (parts.empty()) resolved += '/';
  return resolved;
}

bool WorkingDirectory(CString& directory) {
  std::string buffer(256, '\0');
  while (getcwd(buffer.data(), buffer.size()) == nullptr) {
    if (errno != ERANGE) return false;
    buffer.resize(buffer.size() * 2);
  }
  directory = karst::FromFileSystemName(buffer.c_str());
  return true;
}

// What a conversion text asks for.
struct Conversion {
  std::string charset;
  bool transliterate = false;
  bool known = true;
};

Conversion ParseConversion(std::string_view text) {
  const size_t slash = std::min(text.find("//"), text.size());
  const std::string_view option = text.substr(slash);
  Conversion conversion{std::string(text.substr(0, slash))};
  conversion.transliterate = karst::EqualIgnoringCase(option, "//translit");
  conversion.known = (option.empty() || conversion.transliterate) && conversion.charset.find('/') == std::string::npos;
  return conversion;
}

// GBK to GBK changes nothing, not even bytes that are no character.
bool LeavesBytesAlone(const std::string& charset) {
  return charset.empty() || karst::EqualIgnoringCase(charset, "gbk") || karst::EqualIgnoringCase(charset, "cp936");
}

int CopyUnchanged(std::string_view text, char* target, size_t room) {
  if (text.size() > room) return -1;
  if (!text.empty()) std::memcpy(target, text.data(), text.size());
  return static_cast<int>(text.size());
}

[[noreturn]] void ThrowUnknownCharset(const char* conversion) {
  CString message;
  message.Format("不能识别的字符集[%s]...", conversion);
  throw CError(message, -1, -1);
}

}  // namespace

CError::CError(const char* message, int first, int second) : text{}, first_code(first), second_code(second) {
  if (message == nullptr) return;
  const std::string_view whole(message, strnlen(message, kTextSize));
  std::memcpy(text, message, karst::WholeCharacters(whole, kTextSize - 1));
}

int MakeFullPathName(CString& name) {
  if (name.IsEmpty()) return 0;
  const CString slashed = karst::WithForwardSlashes(name.view());
  if (slashed.data()[0] == '/') {
    name = Resolved(slashed.view());
    return 1;
  }
  CString path;
  if (!WorkingDirectory(path)) return 0;
  (path += '/') += slashed.view();
  name = Resolved(path.view());
  return 1;
}

int LoadFileContentToString(const char* path, CString& content) {
  content.Empty();
  if (!ReadFileNamed(path, content)) {
    content.Empty();
    return -1;
  }
  if (content.view().starts_with(karst::kByteOrderMark)) TurnIntoGbk(content, path);
  return 0;
}

int DumpPackage(const char* file_name, const char* bytes, size_t count) {
  const ScopedFile file(karst::CreateForWriting(file_name));
  if (!file.IsOpen()) return -1;
  return karst::WriteFile(file.Get(), {bytes, count}) == static_cast<int64_t>(count) ? 0 : -1;
}

int MakeBM(const char* text, char* target, int size, const char* conversion) {
  const std::string_view source(text ? text : "");
  const Conversion wanted = ParseConversion(conversion ? conversion : "");
  if (!wanted.known) ThrowUnknownCharset(conversion);
  if (size < 0) return -1;
  const size_t room = static_cast<size_t>(size);
  if (LeavesBytesAlone(wanted.charset)) return CopyUnchanged(source, target, room);
  const auto result = karst::ConvertGbk(source, wanted.charset, wanted.transliterate, target, room);
  if (result.failure == karst::ConversionFailure::kUnknownCharset) ThrowUnknownCharset(conversion);
  return result.failure == karst::ConversionFailure::kNone ? static_cast<int>(result.bytes) : -1;
}
