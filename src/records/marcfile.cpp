// CMARCFile: the record reader over a file of the file layer.
#include <algorithm>
#include <utility>

#include "platform/files.h"
#include "records/cartulary.h"
#include "records/recordreader.h"

namespace {

class FileSource : public karst::ByteSource {
 public:
  FileSource() = default;
  ~FileSource() override { karst::CloseFile(file_); }
  FileSource(const FileSource&) = delete;
  FileSource& operator=(const FileSource&) = delete;

  int64_t Read(char* target, size_t count) override { return karst::ReadFile(file_, target, count); }
  bool Open(const char* name) {
    file_ = karst::OpenForReading(name);
    return file_ != karst::kNoFile;
  }
  uint64_t Size() const { return static_cast<uint64_t>(std::max<int64_t>(karst::FileSize(file_), 0)); }

 private:
  karst::FileHandle file_ = karst::kNoFile;
};

uint32_t Saturated(uint64_t number) { return static_cast<uint32_t>(std::min<uint64_t>(number, UINT32_MAX)); }

}  // namespace

// The record reader outlives the closing of its file: its counts are for the host to read until the next Open.
class CMARCFile::Reader {
 public:
  std::unique_ptr<karst::RecordReader> records;
  karst::SkippedRecordHandler on_skipped;
  uint64_t size = 0;
  bool open = false;
  bool has_record = false;
};

CMARCFile::CMARCFile() : reader_(std::make_unique<Reader>()) {}
CMARCFile::~CMARCFile() = default;

int CMARCFile::Open(const CString& name) {
  Close();
  reader_->records.reset();
  reader_->size = stream_size = stream_position = 0;
  auto source = std::make_unique<FileSource>();
  if (!source->Open(name)) return -1;
  reader_->size = source->Size();
  reader_->records = std::make_unique<karst::RecordReader>(std::move(source));
  reader_->open = true;
  stream_size = Saturated(reader_->size);
  return 0;
}

int CMARCFile::Close() {
  if (!reader_->open) return -1;
  reader_->open = reader_->has_record = false;
  reader_->records->Close();
  return 0;
}

int CMARCFile::NextRecord(CString& record) {
  reader_->has_record = false;
  if (!reader_->open) return -1;
  // A handler that throws leaves the stretch behind it all the same; the position has to say so.
  const karst::ReadResult result = reader_->records->Next([this](const karst::SkippedRecord& skipped) {
    stream_position = Saturated(BytePosition());
    if (reader_->on_skipped) reader_->on_skipped(skipped);
  });
  stream_position = Saturated(BytePosition());
  reader_->has_record = result == karst::ReadResult::kRecord;
  if (reader_->has_record) record.Assign(reader_->records->Text());
  return static_cast<int>(result);
}

const char* CMARCFile::GetCurRec() { return reader_->has_record ? reader_->records->Text().data() : ""; }

std::string_view CMARCFile::CurrentRawBytes() const {
  return reader_->has_record ? reader_->records->RawBytes() : std::string_view();
}

uint64_t CMARCFile::CurrentOffset() const { return reader_->records ? reader_->records->RecordOffset() : 0; }

void CMARCFile::OnSkippedRecord(karst::SkippedRecordHandler handler) { reader_->on_skipped = std::move(handler); }

uint64_t CMARCFile::ByteSize() const { return reader_->size; }
uint64_t CMARCFile::BytePosition() const { return reader_->records ? reader_->records->Position() : 0; }
uint64_t CMARCFile::RecordCount() const { return reader_->records ? reader_->records->RecordCount() : 0; }
uint64_t CMARCFile::SkippedCount() const { return reader_->records ? reader_->records->SkippedCount() : 0; }
uint64_t CMARCFile::SkippedBytes() const { return reader_->records ? reader_->records->SkippedBytes() : 0; }
uint64_t CMARCFile::RepairedCount() const { return reader_->records ? reader_->records->RepairedCount() : 0; }
