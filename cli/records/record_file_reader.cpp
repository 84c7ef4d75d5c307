// RecordFileReader: looks at the first bytes and puts the chain of sources together.
#include "records/record_file_reader.h"

#include <algorithm>

#include "records/ascii.h"
#include "records/charset_guess.h"

namespace karst::cli {
namespace {

constexpr size_t kHead = 4096;

// The encoding that the XML declaration at the head of a file names, empty if it names none.
std::string DeclaredCharset(std::string_view head) {
  if (head.starts_with("\xFE\xFF") || head.starts_with("\xFF\xFE")) return "utf-16";
  constexpr std::string_view kName = "encoding";
  const size_t start = head.find("<?xml");
  const size_t end = head.find("?>", start == head.npos ? head.size() : start);
  if (end == head.npos) return "";
  std::string_view declaration = head.substr(start, end - start);
  const size_t name = declaration.find(kName);
  if (name == head.npos) return "";
  declaration.remove_prefix(name + kName.size());
  const size_t quote = declaration.find_first_of("\"'");
  if (quote == head.npos) return "";
  const size_t close = declaration.find(declaration[quote], quote + 1);
  return LoweredAscii(declaration.substr(quote + 1, close == head.npos ? 0 : close - quote - 1));
}

// Charsets whose text UTF-8 text is, too.
bool IsUtf8(std::string_view charset) {
  return charset.empty() || charset == "utf-8" || charset == "utf8" || charset == "us-ascii" || charset == "ascii";
}

}  // namespace

bool RecordFileReader::Open(const CString& name) {
  std::unique_ptr<ByteSource> source = OpenFileSource(name, state_);
  return source && Begin(std::move(source));
}

bool RecordFileReader::OpenSource(std::unique_ptr<ByteSource> source, uint64_t size) {
  state_->size = size;
  return Begin(std::move(source));
}

bool RecordFileReader::Begin(std::unique_ptr<ByteSource> source) {
  auto peek = std::make_unique<PeekSource>(std::move(source));
  const std::string* head = peek->Peek(kHead);
  if (!head) return false;
  if (LooksCompressed(*head)) {
    peek = std::make_unique<PeekSource>(MakeGzipSource(std::move(peek), state_));
    head = peek->Peek(kHead);
    // What comes ahead of the damage is given first.
    if (!head) head = peek->Head();
  }
  return MakeParser(std::move(peek), *head);
}

bool RecordFileReader::MakeParser(std::unique_ptr<PeekSource> source, const std::string& head) {
  if (format_ == RecordFormat::kAuto) format_ = FormatOfContent(head);
  before_ = GuessCharsetOfHead(head);
  if (format_ == RecordFormat::kLines) {
    parser_ = MakeLineParser(std::move(source));
  } else if (format_ == RecordFormat::kMarcXml) {
    std::string charset = DeclaredCharset(head);
    if (charset_ == RecordCharset::kGbk && IsUtf8(charset)) charset = "gbk";
    std::unique_ptr<ByteSource> text = std::move(source);
    if (!IsUtf8(charset)) text = MakeTextSource(std::move(text), charset, state_);
    if (!text) state_->fault = "unknown charset " + charset;
    if (text) parser_ = MakeXmlParser(std::move(text));
  } else {
    format_ = RecordFormat::kIso2709;
    parser_ = MakeBinaryParser(std::move(source));
  }
  return parser_ != nullptr;
}

ReadResult RecordFileReader::Next(const SkippedRecordHandler& handler) {
  const ReadResult result = parser_->Next(handler);
  if (result == ReadResult::kFailed && state_->fault.empty()) state_->fault = "the file cannot be read on";
  return result;
}

RecordCharset RecordFileReader::GuessCurrentCharset() {
  if (format_ == RecordFormat::kMarcXml) return RecordCharset::kUtf8;
  if (charset_ != RecordCharset::kAuto) return charset_;
  return before_ = GuessCharset(parser_->Text(), before_);
}

uint64_t RecordFileReader::Position() const {
  if (!parser_) return 0;
  return state_->compressed || format_ == RecordFormat::kMarcXml ? state_->position : parser_->Position();
}

}  // namespace karst::cli
