// RecordInput: the records of a file, in GBK.
#include "cli/records/record_input.h"

#include <algorithm>

#include "cli/base/reversible_encoding.h"
#include "cli/records/record_file_reader.h"

namespace karst::cli {
namespace {

uint32_t Saturated(uint64_t number) { return static_cast<uint32_t>(std::min<uint64_t>(number, UINT32_MAX)); }

}  // namespace

RecordInput::RecordInput(RecordInputOptions options) : options_(options) {}
RecordInput::~RecordInput() = default;

int RecordInput::Open(const CString& name) {
  Begin();
  return Opened(reader_->Open(name));
}

int RecordInput::OpenSource(std::unique_ptr<ByteSource> source, uint64_t size) {
  Begin();
  return Opened(reader_->OpenSource(std::move(source), size));
}

void RecordInput::Begin() {
  Close();
  failure_.clear();
  reference_count_ = 0;
  stream_size = stream_position = 0;
  reader_ = std::make_unique<RecordFileReader>(options_.format, options_.charset);
}

int RecordInput::Opened(bool good) {
  open_ = good;
  if (!good) failure_ = reader_->Fault();
  stream_size = Saturated(ByteSize());
  return good ? 0 : -1;
}

int RecordInput::Close() {
  if (!open_) return -1;
  open_ = has_record_ = false;
  reader_->Close();
  return 0;
}

int RecordInput::NextRecord(CString& record) {
  has_record_ = false;
  if (!open_) return -1;
  // A handler that throws has passed the stretch all the same; the position has to say so.
  const ReadResult result = reader_->Next([this](const SkippedRecord& skipped) {
    stream_position = Saturated(BytePosition());
    if (on_skipped_) on_skipped_(skipped);
  });
  stream_position = Saturated(BytePosition());
  if (result == ReadResult::kFailed) failure_ = reader_->Fault();
  if (result == ReadResult::kRecord) Take(record);
  return static_cast<int>(result);
}

void RecordInput::Take(CString& record) {
  has_record_ = true;
  const std::string_view text = reader_->Parser()->Text();
  was_utf8_ = reader_->GuessCurrentCharset() == RecordCharset::kUtf8;
  if (!was_utf8_) {
    record.Assign(text);
    return;
  }
  // The leader has its 24 bytes in any charset.
  const size_t leader = std::min(text.size(), kHeaderLength);
  gbk_.assign(text.substr(0, leader));
  reference_count_ += ToGbkReversibly(text.substr(leader), gbk_);
  record.Assign(gbk_);
}

const char* RecordInput::GetCurRec() {
  if (!has_record_) return "";
  return was_utf8_ ? gbk_.c_str() : reader_->Parser()->Text().data();
}

void RecordInput::OnSkippedRecord(SkippedRecordHandler handler) { on_skipped_ = std::move(handler); }

const RecordParser* RecordInput::Parser() const { return reader_ ? reader_->Parser() : nullptr; }
uint64_t RecordInput::ByteSize() const { return reader_ ? reader_->Size() : 0; }
uint64_t RecordInput::BytePosition() const { return reader_ ? reader_->Position() : 0; }
uint64_t RecordInput::RecordCount() const { return Parser() ? Parser()->RecordCount() : 0; }
uint64_t RecordInput::SkippedCount() const { return Parser() ? Parser()->SkippedCount() : 0; }
uint64_t RecordInput::SkippedBytes() const { return Parser() ? Parser()->SkippedBytes() : 0; }
uint64_t RecordInput::RepairedCount() const { return Parser() ? Parser()->RepairedCount() : 0; }
RecordFormat RecordInput::Format() const { return reader_ ? reader_->Format() : RecordFormat::kAuto; }
bool RecordInput::IsInNoFormat() const { return reader_ && Parser() && reader_->IsInNoFormat(); }

}  // namespace karst::cli
