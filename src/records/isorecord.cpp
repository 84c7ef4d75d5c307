// Reading an ISO 2709 record: its numbers, its directory, its data, in this order.
#include "records/isorecord.h"

#include <algorithm>

#include "records/cartulary.h"
#include "records/recordfault.h"

namespace karst {
namespace {

constexpr size_t kLengthAt = 0;
constexpr size_t kBaseAt = 12;
constexpr size_t kLeaderDigits = 5;
constexpr size_t kEntryLength = 12;
constexpr size_t kEntryLengthDigits = 4;
constexpr size_t kEntryStartDigits = 5;
constexpr size_t kShortestRecord = kHeaderLength + 2;
constexpr uint32_t kUnreadable = UINT32_MAX;

// SPEED: a bad digit is noticed at the end only, so that the digits are read with no branch between them.
template <size_t kDigits>
uint32_t ReadNumber(const char* digits) {
  uint32_t number = 0;
  unsigned largest = 0;
  for (size_t i = 0; i < kDigits; ++i) {
    const unsigned digit = static_cast<unsigned char>(digits[i]) - unsigned{'0'};
    largest = std::max(largest, digit);
    number = number * 10 + digit;
  }
  return largest > 9 ? kUnreadable : number;
}

}  // namespace

bool IsPrintableTag(std::string_view tag) {
  return std::all_of(tag.begin(), tag.end(), [](char byte) { return byte >= 0x20 && byte < 0x7F; });
}

const char* IsoRecord::Examine(std::string_view raw) {
  raw_ = raw;
  length_right_ = base_right_ = directory_fits_ = mended_ = false;
  stated_length_ = stated_base_ = kUnreadable;
  if (raw.size() < kHeaderLength) return fault::kNoRecord;
  stated_length_ = ReadNumber<kLeaderDigits>(raw.data() + kLengthAt);
  stated_base_ = ReadNumber<kLeaderDigits>(raw.data() + kBaseAt);
  if (raw.size() < kShortestRecord) return fault::kNoRecord;
  length_right_ = stated_length_ == raw.size();
  const char* directory_fault = FitDirectory(raw);
  directory_fits_ = !directory_fault;
  if (stated_length_ == kUnreadable) return fault::kLengthNotNumber;
  if (directory_fault) return directory_fault;
  if (raw.find('\0') != std::string_view::npos) return fault::kNulInside;
  if (raw.find(kRecordEnd) != raw.size() - 1) return fault::kRecordEndInside;
  return nullptr;
}

const char* IsoRecord::FitDirectory(std::string_view raw) {
  const size_t directory_end = raw.find(kFieldEnd, kHeaderLength);
  if (directory_end == std::string_view::npos) return fault::kNoDirectoryEnd;
  const size_t base = directory_end + 1;
  base_right_ = stated_base_ == base;
  if ((directory_end - kHeaderLength) % kEntryLength != 0) return fault::kDirectoryLength;
  data_ = raw.substr(base, raw.size() - 1 - base);
  // Without a single entry there is nothing but the numbers to tell a record from any other bytes.
  if (directory_end == kHeaderLength && !base_right_ && !length_right_) return fault::kNoRecord;
  const char* entry_fault = ReadDirectory(raw.substr(kHeaderLength, directory_end - kHeaderLength));
  return entry_fault ? entry_fault : FindData();
}

const char* IsoRecord::ReadDirectory(std::string_view directory) {
  entries_.clear();
  for (size_t at = 0; at < directory.size(); at += kEntryLength) {
    if (const char* entry_fault = ReadEntry(directory.data() + at)) return entry_fault;
  }
  return nullptr;
}

const char* IsoRecord::ReadEntry(const char* bytes) {
  if (!IsPrintableTag({bytes, kTagLength})) return fault::kBadTag;
  Entry entry{bytes, ReadNumber<kEntryStartDigits>(bytes + kTagLength + kEntryLengthDigits),
              ReadNumber<kEntryLengthDigits>(bytes + kTagLength)};
  if (entry.start == kUnreadable) {
    const Entry before = entries_.empty() ? Entry{nullptr, 0, 0} : entries_.back();
    if (entry.length == kUnreadable || before.length == kUnreadable) return fault::kEntryNotNumber;
    entry.start = before.start + before.length;
    mended_ = true;
  }
  entries_.push_back(entry);
  return nullptr;
}

// Goes through the entries in the order of their data, which has to be covered without a hole.
const char* IsoRecord::FindData() {
  const auto by_place = [](const Entry& a, const Entry& b) { return a.start < b.start; };
  const bool in_order = std::is_sorted(entries_.begin(), entries_.end(), by_place);
  if (!in_order) std::sort(entries_.begin(), entries_.end(), by_place);
  size_t position = 0;
  for (Entry& entry : entries_) {
    if (const char* field_fault = FindField(entry, position)) return field_fault;
  }
  if (position < data_.size()) return fault::kDataNotListed;
  if (!in_order) {
    std::sort(entries_.begin(), entries_.end(), [](const Entry& a, const Entry& b) { return a.tag < b.tag; });
    mended_ = true;
  }
  return nullptr;
}

// `position` is where the field has to start, and is moved behind it.
const char* IsoRecord::FindField(Entry& entry, size_t& position) {
  if (entry.start > data_.size()) return fault::kEntryOutside;
  if (entry.start != position) return entry.start < position ? fault::kEntriesOverlap : fault::kDataNotListed;
  const size_t mark = data_.find(kFieldEnd, position);
  const size_t end = std::min(mark, data_.size());
  const size_t length = end - position;
  if (entry.length != length + 1 || mark == std::string_view::npos) {
    const bool tells_end = entry.length == length || entry.length == length + 1 || entry.length == kUnreadable;
    if (!tells_end) {
      return entry.start + entry.length > data_.size() ? fault::kEntryOutside : fault::kEntryLength;
    }
    mended_ = true;
  }
  entry.length = static_cast<uint32_t>(length);
  position = end + 1;
  return nullptr;
}

bool IsoRecord::HasLikelyLength() const {
  constexpr size_t kDamage = 3 * kEntryLength;
  return stated_length_ >= kShortestRecord && stated_length_ <= raw_.size() + kDamage &&
         stated_length_ + kDamage >= raw_.size();
}

bool IsoRecord::HasLikelyBase() const {
  return stated_base_ != kUnreadable && stated_base_ > kHeaderLength &&
         (stated_base_ - kHeaderLength) % kEntryLength == 1;
}

// True if a field of just this place and length stands in the data that begin at `base`.
bool IsoRecord::FitsDataAt(size_t base, uint32_t start, uint32_t length) const {
  const std::string_view data = raw_.substr(std::min(base, raw_.size()));
  const size_t end = size_t{start} + length;
  if (length == 0 || end > data.size() || data[end - 1] != kFieldEnd) return false;
  return (start == 0 || data[start - 1] == kFieldEnd) && data.find(kFieldEnd, start) == end - 1;
}

// `numbers` begins with the digits of an entry. It fits what is first in the data, or the data after the first 0x1E
// or, where that one is lost, at the base address; or its field ends where that of the next entry begins.
bool IsoRecord::FitsSomewhere(std::string_view numbers, size_t base) const {
  const uint32_t length = ReadNumber<kEntryLengthDigits>(numbers.data());
  const uint32_t start = ReadNumber<kEntryStartDigits>(numbers.data() + kEntryLengthDigits);
  if (length == kUnreadable || start == kUnreadable) return false;
  if (start == 0 && length > 0) return true;
  if (FitsDataAt(base, start, length)) return true;
  if (stated_base_ != kUnreadable && FitsDataAt(stated_base_, start, length)) return true;
  if (length == 0 || numbers.size() < 2 * kEntryLength - kTagLength) return false;
  return ReadNumber<kEntryStartDigits>(numbers.data() + kEntryLength + kEntryLengthDigits) == start + length;
}

// Bytes may be lost, so that an entry can begin anywhere.
int IsoRecord::CountFittingEntries() const {
  constexpr size_t kNumbers = kEntryLength - kTagLength;
  constexpr size_t kLongestDirectory = 99999;
  const size_t end = raw_.find(kFieldEnd, kHeaderLength);
  if (end == std::string_view::npos) return 0;
  const std::string_view directory = raw_.substr(kHeaderLength, std::min(end - kHeaderLength, kLongestDirectory));
  int count = 0;
  for (size_t at = 0; at + kNumbers <= directory.size() && count < 2; ++at) {
    if (!FitsSomewhere(directory.substr(at), end + 1)) continue;
    ++count;
    at += kNumbers - 1;
  }
  return count;
}

void IsoRecord::WriteInternalForm(RecordText& text) const {
  // Each entry costs 12 bytes in `raw_` and 3 here, so that `raw_` is long enough also if a 0x1E is added.
  text.Begin(raw_.size() + 1);
  text.Add(raw_.substr(0, kHeaderLength));
  for (const Entry& entry : entries_) {
    text.Add({entry.tag, kTagLength});
    text.Add({data_.data() + entry.start, entry.length});
    text.Add(kFieldEnd);
  }
  text.Add(kRecordEnd);
  text.End();
}

}  // namespace karst
