// Writing records out as ISO 2709 (see isorecord.h): the directory is built, the two computed numbers of the leader are
// filled in, all other bytes are copied.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "export.h"

namespace karst {

// Fields whose tag begins with "-" belong to the system that keeps the record.
enum class LocalFields : uint8_t { kLeftOut, kWritten };

// Why a record has no true form in ISO 2709; the first thing found. Fields that are left out are not looked at.
enum class IsoFault : uint8_t {
  kNone,
  kNoRecord,       // no 24-byte header, or no 0x1D at the end and only there
  kShortField,     // a field has no whole tag
  kBadTag,         // a tag is not printable ASCII: no reader would take it for one
  kOpenField,      // the last field has no 0x1E
  kFieldTooLong,   // a field of more than 9,999 bytes with its 0x1E and without its tag
  kRecordTooLong,  // more than 99,999 bytes in all
};

// The size and the faults of a record's ISO 2709 form, known before a byte of it is written.
class KARST_API IsoLayout {
 public:
  // `record` is a record in the internal form with its 0x1D; it has to outlive the object.
  IsoLayout(std::string_view record, LocalFields local);

  IsoFault Fault() const { return fault_; }
  // The bytes that Write writes; 0 for kNoRecord.
  size_t Length() const { return length_; }
  // The fields in the record, those that are left out too.
  size_t FieldsSeen() const { return fields_seen_; }
  // The last field has no 0x1E. It is written as if it had one, unless it is left out by the second function.
  bool HasOpenField() const { return open_field_length_ != 0; }
  void LeaveOutOpenField();

  // Writes the record. With a fault as well, but for kNoRecord: then fields without a whole tag are left out, and a
  // number that is too large for its place has its last digits there.
  void Write(char* target) const;

 private:
  bool IsLeftOut(std::string_view field) const;
  void Count(std::string_view field);
  void Note(IsoFault fault);

  std::string_view header_;
  std::string_view fields_;
  LocalFields local_;
  IsoFault fault_ = IsoFault::kNone;
  bool writes_open_field_ = true;
  size_t fields_seen_ = 0;
  size_t fields_written_ = 0;
  size_t open_field_length_ = 0;
  size_t length_ = 0;
};

// Appends the ISO 2709 form of a record to `target`. Another result than kNone leaves `target` as it is.
KARST_API IsoFault AppendIsoRecord(std::string_view record, LocalFields local, std::string& target);

// Writes the last `width` decimal digits of `number`, zero-filled. SPEED: inline, so that a known width needs no loop.
inline void WriteDigits(uint64_t number, char* target, size_t width) {
  for (size_t i = width; i-- > 0; number /= 10) target[i] = static_cast<char>('0' + number % 10);
}

}  // namespace karst
