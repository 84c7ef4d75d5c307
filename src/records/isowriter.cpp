// Writing ISO 2709: one walk over the fields to count, one to write directory and data side by side.
#include "records/isowriter.h"

#include <cstring>

#include "records/cartulary.h"
#include "records/isorecord.h"

namespace karst {
namespace {

constexpr size_t kEntryLength = 12;
constexpr size_t kBaseAt = 12;
constexpr size_t kLongestField = 9999;
constexpr size_t kLongestRecord = 99999;

// Calls `use` for each field without its 0x1E, and says whether there is one.
template <typename Use>
void ForEachField(std::string_view fields, Use use) {
  const char* const end = fields.data() + fields.size();
  for (const char* at = fields.data(); at < end;) {
    const auto* mark = static_cast<const char*>(std::memchr(at, kFieldEnd, static_cast<size_t>(end - at)));
    const char* const stop = mark ? mark : end;
    use(std::string_view(at, static_cast<size_t>(stop - at)), mark != nullptr);
    at = stop + 1;
  }
}

}  // namespace

IsoLayout::IsoLayout(std::string_view record, LocalFields local) : local_(local) {
  if (record.size() <= kHeaderLength ||
      std::memchr(record.data(), kRecordEnd, record.size()) != record.data() + record.size() - 1) {
    fault_ = IsoFault::kNoRecord;
    return;
  }
  header_ = record.substr(0, kHeaderLength);
  fields_ = record.substr(kHeaderLength, record.size() - kHeaderLength - 1);
  length_ = kHeaderLength + 2;
  ForEachField(fields_, [this](std::string_view field, bool closed) {
    ++fields_seen_;
    if (IsLeftOut(field)) return;
    if (field.size() < kTagLength) return Note(IsoFault::kShortField);
    if (!IsPrintableTag(field.substr(0, kTagLength))) Note(IsoFault::kBadTag);
    Count(field);
    if (closed) return;
    open_field_length_ = field.size();
    Note(IsoFault::kOpenField);
  });
  if (length_ > kLongestRecord) Note(IsoFault::kRecordTooLong);
}

bool IsoLayout::IsLeftOut(std::string_view field) const {
  return local_ == LocalFields::kLeftOut && field.starts_with('-');
}

void IsoLayout::Count(std::string_view field) {
  const size_t data_length = field.size() - kTagLength + 1;
  if (data_length > kLongestField) Note(IsoFault::kFieldTooLong);
  length_ += kEntryLength + data_length;
  ++fields_written_;
}

void IsoLayout::Note(IsoFault fault) {
  if (fault_ == IsoFault::kNone) fault_ = fault;
}

void IsoLayout::LeaveOutOpenField() {
  if (!HasOpenField() || !writes_open_field_) return;
  writes_open_field_ = false;
  length_ -= kEntryLength + open_field_length_ - kTagLength + 1;
  --fields_written_;
}

void IsoLayout::Write(char* target) const {
  std::memcpy(target, header_.data(), kHeaderLength);
  const size_t base = kHeaderLength + fields_written_ * kEntryLength + 1;
  WriteDigits(length_, target, 5);
  WriteDigits(base, target + kBaseAt, 5);
  char* entry = target + kHeaderLength;
  char* const data = target + base;
  size_t start = 0;
  ForEachField(fields_, [&](std::string_view field, bool closed) {
    if (IsLeftOut(field) || field.size() < kTagLength || (!closed && !writes_open_field_)) return;
    const size_t body = field.size() - kTagLength;
    std::memcpy(entry, field.data(), kTagLength);
    WriteDigits(body + 1, entry + 3, 4);
    WriteDigits(start, entry + 7, 5);
    entry += kEntryLength;
    std::memcpy(data + start, field.data() + kTagLength, body);
    data[start + body] = kFieldEnd;
    start += body + 1;
  });
  *entry = kFieldEnd;
  data[start] = kRecordEnd;
}

IsoFault AppendIsoRecord(std::string_view record, LocalFields local, std::string& target) {
  const IsoLayout layout(record, local);
  if (layout.Fault() != IsoFault::kNone) return layout.Fault();
  const size_t before = target.size();
  target.resize(before + layout.Length());
  layout.Write(target.data() + before);
  return IsoFault::kNone;
}

}  // namespace karst
