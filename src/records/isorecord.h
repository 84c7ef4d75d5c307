// ISO 2709 records: a 24-byte leader (total length at 0, base address of the data at 12, five digits each), a directory
// of 12-byte entries (tag, four digits of length, five of start) ended by 0x1E, the fields, each ended by 0x1E, and
// 0x1D.
//
// A record is read only if the directory accounts for every byte of the data exactly once; then nothing can get lost,
// whatever else is wrong with it.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "export.h"
#include "records/recordtext.h"

namespace karst {

// True if all of `tag` is printable ASCII, the blank included.
KARST_API bool IsPrintableTag(std::string_view tag);

class KARST_API IsoRecord {
 public:
  // Looks at `raw`, a stretch that ends with 0x1D. Null if it is a record that can be read without loss, otherwise what
  // is wrong with it. It has to outlive the calls below.
  //
  // CHOICE: these faults are mended: a total length or a base address that is not what it should be (the base address
  // need not be a number); entries in another order than the data, which then decide the order of the fields; a length
  // that leaves the field's 0x1E out; a last field without its 0x1E; one unreadable number in an entry where its
  // neighbours tell it. A total length that is no number, entries that overlap, point outside or leave out a part of
  // the data, and a NUL or a 0x1D inside, which the internal form cannot hold, are not. The bytes 20 to 23 of the
  // leader, which can announce entries of another shape, are not looked at: a record with such entries does not fit.
  const char* Examine(std::string_view raw);

  // The following speak of the record examined last.
  bool LengthIsRight() const { return length_right_; }
  bool BaseIsRight() const { return base_right_; }
  // The directory fits the data, also where Examine named a fault outside of it.
  bool DirectoryFits() const { return directory_fits_; }
  bool NeedsRepair() const { return mended_ || !length_right_ || !base_right_; }
  // What the leader says, right or not; UINT32_MAX where it is no number.
  uint32_t StatedLength() const { return stated_length_; }
  uint32_t StatedBase() const { return stated_base_; }
  // True if it could be right but for a little damage.
  bool HasLikelyLength() const;
  bool HasLikelyBase() const;
  // What is left of a directory where Examine named a fault: entries that fit the data or each other, counted up to
  // the second.
  int CountFittingEntries() const;

  // Writes the internal form of a record without fault: the leader as it stands, the fields in directory order.
  void WriteInternalForm(RecordText& text) const;

 private:
  struct Entry {
    const char* tag;
    uint32_t start;
    uint32_t length;  // as the entry says; once the data are found, the bytes of the field without its 0x1E
  };

  const char* FitDirectory(std::string_view raw);
  const char* ReadDirectory(std::string_view directory);
  const char* ReadEntry(const char* bytes);
  const char* FindData();
  const char* FindField(Entry& entry, size_t& position);
  bool FitsDataAt(size_t base, uint32_t start, uint32_t length) const;
  bool FitsSomewhere(std::string_view numbers, size_t base) const;

  std::string_view raw_;
  std::string_view data_;  // the fields, without the final 0x1D
  std::vector<Entry> entries_;
  uint32_t stated_length_ = 0;
  uint32_t stated_base_ = 0;
  bool length_right_ = false;
  bool base_right_ = false;
  bool directory_fits_ = false;
  bool mended_ = false;
};

}  // namespace karst
