// RecordFileReader: looks at the first bytes and puts the chain of sources together.
#include "cli/records/record_file_reader.h"

#include "cli/records/charset_guess.h"
#include "cli/records/format_guess.h"

namespace karst::cli {
namespace {

constexpr size_t kHead = 4096;

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
  if (!peek->Peek(kHead)) return false;
  if (LooksCompressed(peek->Head()) && !OnlyLooksCompressed(peek->Head(), format_, charset_)) {
    peek = std::make_unique<PeekSource>(MakeGzipSource(std::move(peek), state_));
    // Where it is damaged, what comes before the damage is given first.
    peek->Peek(kHead);
  }
  if (format_ == RecordFormat::kAuto) format_ = GuessFormat(*peek, charset_);
  in_no_format_ = format_ == RecordFormat::kAuto;
  if (in_no_format_ || format_ == RecordFormat::kInternal) format_ = RecordFormat::kIso2709;
  const std::string head = peek->Head().substr(0, kHead);
  before_ = GuessCharsetOfHead(head);
  parser_ = MakeParser(format_, std::move(peek), head, charset_, state_);
  return parser_ != nullptr;
}

ReadResult RecordFileReader::Next(const SkippedRecordHandler& handler) {
  const ReadResult result = parser_->Next(handler);
  if (result == ReadResult::kEnd && IsInNoFormat()) {
    state_->fault = "it has no record in any format";
    return ReadResult::kFailed;
  }
  if (result != ReadResult::kFailed || !state_->fault.empty()) return result;
  state_->fault = parser_->Fault();
  if (state_->fault.empty()) state_->fault = "the file cannot be read on";
  return result;
}

bool RecordFileReader::IsInNoFormat() const {
  return in_no_format_ && parser_->RecordCount() == 0 && parser_->SkippedCount() > 0;
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
