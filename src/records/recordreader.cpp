// Finding records among other bytes.
//
// A record has one 0x1D, its last byte, so that between two of them at most one record ends. What is looked at is
// always the stretch up to the next 0x1D: it is a record, or one stands at its end behind something else, or it is
// none.
#include "records/recordreader.h"

#include <algorithm>
#include <utility>

#include "records/recordfault.h"
#include "text/ascii.h"

namespace karst {
namespace {

constexpr size_t kNowhere = std::string_view::npos;
constexpr char kEndOfFileMark = 0x1A;
constexpr size_t kEntryBytes = 12;
constexpr size_t kNumberDigits = 5;

bool IsSeparator(char byte) { return byte == '\r' || byte == '\n' || byte == ' '; }
bool IsTagByte(char byte) {
  return IsDigit(byte) || byte == '-' || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

bool AllDigits(std::string_view text, size_t at, size_t count) {
  if (text.size() < at + count) return false;
  return std::all_of(text.begin() + at, text.begin() + at + count, IsDigit);
}

bool StartsWithNumber(std::string_view text) { return AllDigits(text, 0, kNumberDigits); }

bool HasPlainTag(std::string_view record) {
  const std::string_view tag = record.substr(std::min(kHeaderLength, record.size()), kTagLength);
  return tag.size() == kTagLength && std::all_of(tag.begin(), tag.end(), IsTagByte);
}

}  // namespace

RecordReader::RecordReader(std::unique_ptr<ByteSource> source, RecordReaderLimits limits)
    : window_(std::move(source), limits.window), longest_(limits.longest) {}

ReadResult RecordReader::Next(const SkippedRecordHandler& handler) {
  raw_ = {};
  text_.Begin(0);
  if (pending_.count == 0) pending_ = FindRecord();
  if (pending_.count != 0) {
    Report(handler);
    return ReadResult::kPassedOver;
  }
  if (!raw_.empty()) return ReadResult::kRecord;
  return window_.Failed() ? ReadResult::kFailed : ReadResult::kEnd;
}

// One step: gives a record, or tells what has to be reported, or does neither at the end of the stream.
RecordReader::Reject RecordReader::FindRecord() {
  const size_t blanks = PassSeparators();
  if (window_.View().size() <= blanks) return {};
  if (window_.View()[blanks] == kEndOfFileMark) return PassEndMarks(blanks);
  const size_t end = FindRecordEnd(blanks);
  if (window_.Failed()) return {};
  const size_t start = end == kNowhere ? blanks : FindStart(blanks, end);
  window_.Advance(start);
  if (end == kNowhere) return RejectWithoutEnd();

  const std::string_view stretch = window_.View().substr(0, end + 1 - start);
  const Form form = Classify(stretch);
  if (form == Form::kNone) return RejectFront(stretch.size() - 1, fault_);
  if (form == Form::kInternal) {
    // Its fields would be read as one record with those of a record that broke off in front of it.
    const size_t next_header = FindLastHeader(stretch, 1);
    if (next_header != kNowhere) return {next_header, OpenEndFault()};
  }
  Give(stretch.size(), form);
  return {};
}

// Goes over separators, and gives the number of blanks that it leaves in front of the next byte: a header may begin
// with blanks.
size_t RecordReader::PassSeparators() {
  while (true) {
    const std::string_view view = window_.View();
    const size_t count = static_cast<size_t>(std::find_if_not(view.begin(), view.end(), IsSeparator) - view.begin());
    size_t blanks = 0;
    while (blanks < count && blanks < kHeaderLength && view[count - 1 - blanks] == ' ') ++blanks;
    window_.Advance(count - blanks);
    if (count < view.size()) return blanks;
    if (!window_.Grow()) {
      window_.Advance(blanks);
      return 0;
    }
  }
}

// Marks for the end of the file with nothing but separators behind them are separators themselves.
RecordReader::Reject RecordReader::PassEndMarks(size_t blanks) {
  window_.Advance(blanks);
  const auto is_end = [](char byte) { return byte == kEndOfFileMark || IsSeparator(byte); };
  size_t count = 0;
  while (count < longest_ && Hold(count + 1) && is_end(window_.View()[count])) ++count;
  const bool at_end = !Hold(count + 1);
  if (window_.Failed()) return {};
  if (at_end) {
    window_.Advance(count);
    return {};
  }
  const size_t last_mark = window_.View().substr(0, count).rfind(kEndOfFileMark);
  return {last_mark + 1, fault::kEndMarkInside};
}

// True if the window holds `count` bytes, after reading on where it did not.
bool RecordReader::Hold(size_t count) {
  while (window_.View().size() < count) {
    if (!window_.Grow()) return false;
  }
  return true;
}

// The place of the next 0x1D. To know that no record begins in the first `longest_` bytes, twice as many have to be
// looked at, but no more.
size_t RecordReader::FindRecordEnd(size_t from) {
  const size_t limit = from + 2 * longest_;
  size_t searched = from;
  while (true) {
    const std::string_view view = window_.View().substr(0, limit);
    const size_t end = view.find(kRecordEnd, searched);
    if (end != kNowhere) return end;
    searched = view.size();
    if (searched == limit || !window_.Grow()) return kNowhere;
  }
}

// CHOICE: blanks in front of a record are separators, unless what follows them is no record by itself and becomes one,
// with a plain tag behind its header, when some of them are counted to it.
size_t RecordReader::FindStart(size_t blanks, size_t end) {
  if (blanks == 0) return blanks;
  const std::string_view view = window_.View().substr(0, end + 1);
  const Form form = Classify(view.substr(blanks));
  if (form == Form::kIso) return blanks;
  if (form == Form::kInternal && StartsWithNumber(view.substr(blanks))) return blanks;
  for (size_t start = 0; start < blanks; ++start) {
    const std::string_view stretch = view.substr(start);
    if (!HasUsualHeader(stretch)) continue;
    if (HasPlainTag(stretch) && stretch.size() <= longest_ && !internal_.Examine(stretch)) return start;
  }
  return blanks;
}

// Tells the two forms apart. CHOICE: a directory that fits the data makes an ISO 2709 record if the total length or
// the base address agrees with it; so do both numbers together, whatever is wrong with the directory. Where neither
// speaks for it, the stretch is read in the internal form if it can be, and if nothing is left of a directory.
RecordReader::Form RecordReader::Classify(std::string_view stretch) {
  fault_ = fault::kTooLong;
  if (stretch.size() > longest_) return Form::kNone;
  const char* iso_fault = iso_.Examine(stretch);
  const bool one_number_right = iso_.LengthIsRight() || iso_.BaseIsRight();
  const bool both_numbers_right = iso_.LengthIsRight() && iso_.BaseIsRight();
  if (one_number_right && !iso_fault) return Form::kIso;
  fault_ = iso_fault;
  if (both_numbers_right || (one_number_right && iso_.DirectoryFits())) return Form::kNone;

  const char* internal_fault = internal_.Examine(stretch);
  if (!internal_fault && IsSurelyInternal(stretch)) return Form::kInternal;
  if (!iso_fault) return Form::kIso;
  fault_ = FaultOf(stretch, iso_fault, internal_fault);
  return Form::kNone;
}

// True if a stretch that can be read in the internal form is no ISO 2709 record, nor the rest of one: where such a
// record has nothing but control fields, its directory and its data pass for fields as well.
//
// CHOICE: a header with the numbers of an ISO 2709 record of just these fields speaks for the internal form above all,
// for it was written from one. Fields that have subfields after their tags speak for it unless two entries, or one and
// a number in the header, fit ISO 2709. Without any such field, nothing may: no entry that fits, no number that is
// right or could be, no digits as of a directory in front of tags that no record has.
bool RecordReader::IsSurelyInternal(std::string_view stretch) const {
  const size_t fields = internal_.FieldCount();
  const bool length_agrees = iso_.StatedLength() == stretch.size() + fields * (kEntryBytes - kTagLength) + 1;
  const bool base_agrees = iso_.StatedBase() == kHeaderLength + fields * kEntryBytes + 1;
  if (length_agrees && base_agrees) return true;
  const int entries = iso_.CountFittingEntries();
  const bool number_right = iso_.LengthIsRight() || iso_.BaseIsRight();
  // With the 0x1E after its directory lost, a record of one field looks like one in the internal form.
  const bool other_base = iso_.HasLikelyBase() && !(base_agrees && fields > 1);
  const bool likely_numbers = number_right || (!length_agrees && (iso_.HasLikelyLength() || other_base));
  if (internal_.HasSubfields()) return entries + likely_numbers < 2;
  if (entries > 0 || likely_numbers || !HasUsualHeader(stretch)) return false;
  return !internal_.BeginsWithDigits() || internal_.HasUsualTags();
}

// Which of the two faults says more.
const char* RecordReader::FaultOf(std::string_view stretch, const char* iso_fault, const char* internal_fault) const {
  if (!internal_fault) return iso_fault;
  const bool has_directory = AllDigits(stretch, kHeaderLength + kTagLength, kEntryBytes - kTagLength);
  if (has_directory || iso_.LengthIsRight() || iso_.BaseIsRight()) return iso_fault;
  return internal_fault;
}

// What is wrong with a stretch from the read position on that has no 0x1D of its own.
const char* RecordReader::OpenEndFault() const {
  return StartsWithNumber(window_.View()) ? fault::kNoRecordEnd : fault::kNoRecord;
}

RecordReader::Reject RecordReader::RejectWithoutEnd() {
  const size_t held = window_.View().size();
  if (held >= 2 * longest_) return {longest_, fault::kTooLong};
  return {held, OpenEndFault()};
}

// No record begins at the read position: rejects all up to the 0x1D at `end`, or up to the record that ends there.
RecordReader::Reject RecordReader::RejectFront(size_t end, const char* reason) {
  if (const size_t length = LengthWithEndsInside(end)) return {length, fault::kRecordEndInside};
  const size_t searched = std::min(end + 1, longest_ + 1);
  const size_t found = FindRecordInside(window_.View().substr(end + 1 - searched, searched));
  if (found == kNowhere) return {end + 1, reason};
  return {end + 1 - searched + found, OpenEndFault()};
}

// The length of an ISO 2709 record at the read position that is sound but for a 0x1D in its data, or 0.
size_t RecordReader::LengthWithEndsInside(size_t end) {
  if (!StartsWithNumber(window_.View())) return 0;
  size_t length = 0;
  for (const char digit : window_.View().substr(0, kNumberDigits)) length = length * 10 + (digit - '0');
  if (length <= end + 1 || length > longest_ || !Hold(length)) return 0;
  const std::string_view stretch = window_.View().substr(0, length);
  if (stretch.back() != kRecordEnd) return 0;
  iso_.Examine(stretch);
  return iso_.DirectoryFits() ? length : 0;
}

// Where a record begins, behind the first byte of `stretch`, that ends where `stretch` ends.
size_t RecordReader::FindRecordInside(std::string_view stretch) {
  marks_.clear();
  for (size_t mark = stretch.find(kFieldEnd); mark != kNowhere; mark = stretch.find(kFieldEnd, mark + 1)) {
    marks_.push_back(mark);
  }
  const size_t iso = FindIsoInside(stretch);
  return iso != kNowhere ? iso : FindInternalInside(stretch);
}

// SPEED: a directory has as many entries as fields follow it, or one more where the last 0x1E is missing, so that each
// 0x1E ends at most two directories, and their places do not overlap those of any other. This finds what an attempt at
// every byte would find, with a cost that does not grow with the square of the length.
size_t RecordReader::FindIsoInside(std::string_view stretch) {
  for (size_t i = 0; i < marks_.size(); ++i) {
    const size_t fields = marks_.size() - 1 - i;
    for (const size_t entries : {fields, fields + 1}) {
      const size_t length = kHeaderLength + entries * kEntryBytes;
      if (marks_[i] <= length) continue;
      const size_t start = marks_[i] - length;
      if (i > 0 && marks_[i - 1] >= start) continue;
      if (!iso_.Examine(stretch.substr(start)) && (iso_.LengthIsRight() || iso_.BaseIsRight())) return start;
    }
  }
  return kNowhere;
}

// The last header of the usual shape with nothing but whole fields behind it.
size_t RecordReader::FindInternalInside(std::string_view stretch) {
  size_t from = 1;
  size_t field = 0;
  const auto check_field = [&](size_t end) {
    const std::string_view tag = stretch.substr(field, std::min(end - field, kTagLength));
    if (tag.size() < kTagLength || !IsPrintableTag(tag)) from = std::max(from, field);
  };
  for (const size_t mark : marks_) {
    check_field(mark);
    field = mark + 1;
  }
  if (field + 1 < stretch.size()) check_field(stretch.size() - 1);
  const size_t found = FindLastHeader(stretch, from);
  return found != kNowhere && !internal_.Examine(stretch.substr(found)) ? found : kNowhere;
}

void RecordReader::Give(size_t length, Form form) {
  const bool repaired = form == Form::kIso ? iso_.NeedsRepair() : internal_.NeedsRepair();
  if (form == Form::kIso) {
    iso_.WriteInternalForm(text_);
  } else {
    internal_.WriteInternalForm(text_);
  }
  raw_ = window_.View().substr(0, length);
  record_offset_ = window_.Offset();
  window_.Advance(length);
  ++record_count_;
  repaired_count_ += repaired;
}

void RecordReader::Close() {
  window_.Close();
  pending_ = {};
  raw_ = {};
  text_.Begin(0);
}

// Reports the next piece of what is pending.
void RecordReader::Report(const SkippedRecordHandler& handler) {
  const size_t count = std::min(pending_.count, longest_);
  const SkippedRecord skipped{window_.Offset(), window_.View().substr(0, count), pending_.reason};
  window_.Advance(count);
  pending_.count -= count;
  ++skipped_count_;
  skipped_bytes_ += count;
  if (handler) handler(skipped);
}

}  // namespace karst
