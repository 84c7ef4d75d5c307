// The record library: where a field stands in a record, and sources of records.
//
// A record text, the internal form, is NUL-terminated GBK text: a 24-byte header, then fields that each begin with a
// 3-byte tag and end with the byte 0x1E; the byte 0x1D ends the record. Tags beginning "00" or "-0" are followed by
// data; others by 2 indicators, then data. A subfield is the byte 0x1F, its one-byte code and its data.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "export.h"
#include "text/bytestring.h"

namespace karst {

constexpr char kSubfieldMark = 0x1F;
constexpr char kFieldEnd = 0x1E;
constexpr char kRecordEnd = 0x1D;
constexpr size_t kHeaderLength = 24;
constexpr size_t kTagLength = 3;

// Walks the fields of a record text, or the fields embedded in a field text, in order, with no search from the start
// for each. Field i of the walk is what MARC_GetField (or MARC_GetNestedField) gives for the empty name and index i.
// The views point into the text given, which ends at its first NUL.
class KARST_API FieldCursor {
 public:
  static FieldCursor OverRecord(std::string_view record);
  static FieldCursor OverEmbedded(std::string_view field);
  // The next field: tag, indicators, data, without its 0x1E. False at the end.
  bool Next(std::string_view& field);
  // The tag of the field behind the one just given, empty at the last; 3 bytes at most.
  std::string_view FollowingTag() const;

 private:
  FieldCursor(std::string_view rest, bool embedded) : rest_(rest), embedded_(embedded) {}
  std::string_view rest_;
  bool embedded_;
};

// Walks the subfields of a text in order: mark, code, data. Subfield i is what MARC_GetSubField gives for the empty
// name and index i.
class KARST_API SubfieldCursor {
 public:
  explicit SubfieldCursor(std::string_view text);
  // SPEED: the same, over a text in which no end mark is to be looked for.
  static SubfieldCursor OverUnended(std::string_view text);
  bool Next(std::string_view& subfield);

 private:
  SubfieldCursor() = default;
  std::string_view rest_;
};

}  // namespace karst

// Reading. Each gives -1 when there is no such item (also for an index below 0, a null text, name or buffer, no room),
// and nothing is written then; otherwise the length of the text put into `buf`. The index counts from 0. `buf` gets the
// item as NUL-terminated text within `size`; an item that is longer is cut at a whole character. The last pointer may
// be null and is not used.
//
// CHOICE: a text without its end marks is read as if they stood at its end: the last field of a record needs no 0x1E,
// the record no 0x1D. A record shorter than its header has neither header nor fields. A mark with no code behind it is
// a subfield that only the empty name matches.
//
// `name` of 3 bytes matches a tag, "*" in it any byte; the empty name matches every field, "hdr" the header; any other
// name matches nothing. `next` (4 bytes, may be null) gets the tag of the following field, empty at the last.
KARST_API int MARC_GetField(const char* rec, const char* name, int index, char* buf, int size, char* next, int* unused);
KARST_API int MARC_GetNestedField(const char* text, const char* name, int index, char* buf, int size, char* next,
                                  int* unused);
// `name` is one code byte, "*" any, empty all.
KARST_API int MARC_GetSubField(const char* text, const char* name, int index, char* buf, int size, int* unused);
KARST_API int MARC_GetGroup(const char* text, int index, char* buf, int size, int* unused);

// Replacing. `buf` holds a record text (MARC_ReplaceField) or a field or group text, within `size`; it is edited in
// place. `text`, which lies elsewhere, takes the place of the item that the reading function of the same arguments
// finds, in the form in which that function gives it; a 0x1E at its end may stay. The empty text takes the item out,
// with its 0x1E. Nothing but the item and its end mark changes.
//
// Index -1 adds an item: a field behind the last field whose tag is not greater than its own (ahead of all others
// where there is none), a subfield or a group at the end. `name` is then not looked at, unless it is "hdr".
//
// Give 0; or -1, with `buf` unchanged: for an item that is not there, for a result that does not fit `size` with its
// NUL, for a null pointer or a `buf` without a NUL, for adding the empty text, and for a text that would break what it
// is put into: one with a 0x1D, or with a 0x1E ahead of its end; a field that does not begin with a tag of 3 printable
// ASCII bytes; a subfield or a group that does not begin with the mark. The name "hdr" stands for the header: it can
// only be replaced, by exactly 24 bytes without 0x1D and 0x1E.
//
// CHOICE: a text of several subfields is put in as it stands, where one subfield is replaced too.
KARST_API int MARC_ReplaceField(char* buf, int size, const char* name, int index, const char* text);
KARST_API int MARC_ReplaceSubField(char* buf, int size, const char* name, int index, const char* text);
KARST_API int MARC_ReplaceGroup(char* buf, int size, int index, const char* text);

// A source of records.
class KARST_API CMARCStream {
 public:
  virtual ~CMARCStream() = default;
  // -1 on failure.
  virtual int Open(const CString& name) = 0;
  virtual int Close() = 0;
  // 0: a record came, and `record` holds its text. 1: the end. 2: something was passed over; ask again. -1: an error,
  // and not the end: records may be missing.
  virtual int NextRecord(CString& record) = 0;
  // The current record's text, valid until the next NextRecord.
  virtual const char* GetCurRec() = 0;

  // Size and position in bytes. LIMIT: both stay at 0xFFFFFFFF where the true number is larger.
  uint32_t stream_size = 0;
  uint32_t stream_position = 0;
};

namespace karst {

// Something in a record file that is no record. A stretch longer than 1 MiB comes in several pieces.
struct SkippedRecord {
  uint64_t offset;
  std::string_view bytes;  // valid during the call
  const char* reason;      // GBK text
};
using SkippedRecordHandler = std::function<void(const SkippedRecord&)>;

}  // namespace karst

// Reads the records of a file, ISO 2709 or internal form, told apart record by record. Memory does not grow with the
// file. CR, LF, blanks between records and a 0x1A at the file's end are passed over. A record that is damaged but
// readable without loss is repaired; anything else that is no record makes NextRecord give 2, once for each stretch,
// and reading goes on at the next record found behind it. The records given, the stretches passed over and the
// separators are, in order, the whole file.
//
// LIMIT: a record has at most 1 MiB.
//
//   CMARCFile file;
//   if (file.Open("catalogue.iso") == -1) return -1;
//   file.OnSkippedRecord([](const karst::SkippedRecord& skipped) { Keep(skipped.bytes); });
//   CString record;
//   int result;
//   while ((result = file.NextRecord(record)) == 0 || result == 2) {
//     if (result == 0) Use(record);
//   }
//   if (result == -1) return -1;  // the rest of the file could not be read
class KARST_API CMARCFile : public CMARCStream {
 public:
  CMARCFile();
  ~CMARCFile() override;
  CMARCFile(const CMARCFile&) = delete;
  CMARCFile& operator=(const CMARCFile&) = delete;

  // Closes what was open, and sets the counts back. -1 for a name that is no file that can be read.
  int Open(const CString& name) override;
  // -1 if nothing is open. The counts stay.
  int Close() override;
  // -1 also when nothing is open or the file cannot be read on. `record` is changed only with the result 0.
  int NextRecord(CString& record) override;
  // The empty text unless the last NextRecord gave 0.
  const char* GetCurRec() override;

  // The bytes of the current record as they stand in the file, and where. Valid until the next NextRecord.
  std::string_view CurrentRawBytes() const;
  uint64_t CurrentOffset() const;

  // `handler` gets each passed-over stretch, ahead of the result 2 of NextRecord; an empty one takes it off again. What
  // it throws comes out of NextRecord, which goes on behind the stretch when it is asked again.
  void OnSkippedRecord(karst::SkippedRecordHandler handler);

  uint64_t ByteSize() const;  // 0 where the source has no size (a pipe)
  uint64_t BytePosition() const;
  uint64_t RecordCount() const;   // records given so far
  uint64_t SkippedCount() const;  // stretches passed over so far
  uint64_t SkippedBytes() const;
  uint64_t RepairedCount() const;  // records that were read after a repair

 private:
  class Reader;
  std::unique_ptr<Reader> reader_;
};

// One record text as a stream: NextRecord gives it once, then 1.
class KARST_API CMARCString : public CMARCStream {
 public:
  int Open(const CString& record) override;
  int Close() override;
  int NextRecord(CString& record) override;
  const char* GetCurRec() override;

 private:
  CString record_;
  bool given_ = true;
};
