// Records in the internal form as they stand in a file: what tells one from other bytes.
#pragma once

#include <string_view>

#include "export.h"
#include "records/recordtext.h"

namespace karst {

// True if `text` begins with a header of the usual shape and a tag of three digits behind it: total length and base
// address in digits or blank, letters for status and kind at 5 and 6, "45" at 20. No field text looks like this, nor
// does a directory, so that such a place inside what seems to be one record is the start of another one.
KARST_API bool LooksLikeHeader(std::string_view text);
// True if `text` begins with a header of this shape, or with one that is all blank.
KARST_API bool HasUsualHeader(std::string_view text);
// The last place at or behind `from` where LooksLikeHeader holds, or npos.
KARST_API size_t FindLastHeader(std::string_view text, size_t from);

class KARST_API InternalRecord {
 public:
  // Looks at `raw`, a stretch with 0x1D as its last byte and nowhere else. Null if it is a record: 24 bytes without a
  // control byte, then fields that each have a tag of 3 printable bytes and end with 0x1E. Otherwise what is wrong.
  //
  // CHOICE: a last field without its 0x1E is mended where the header has the usual shape; elsewhere any line of text
  // in front of a 0x1D would pass for a record.
  const char* Examine(std::string_view raw);

  // The following speak of the record examined last, if nothing was wrong with it.
  bool NeedsRepair() const { return last_mark_missing_; }
  size_t FieldCount() const { return field_count_; }
  // True if a field has a subfield right after its tag and two indicators. In the data of an ISO 2709 record, which
  // have no tags, it would stand three bytes earlier; in its directory there are digits.
  bool HasSubfields() const;
  // True if each field after the first has subfields so, or is a control field after one with a lower tag.
  bool HasUsualTags() const { return has_usual_tags_; }
  // True if the first field is made of digits, as a directory is.
  bool BeginsWithDigits() const;
  void WriteInternalForm(RecordText& text) const;

 private:
  void Regard(std::string_view field, std::string_view before);

  std::string_view raw_;
  size_t field_count_ = 0;
  bool first_has_subfields_ = false;
  bool has_subfields_ = false;
  bool has_usual_tags_ = true;
  bool last_mark_missing_ = false;
};

}  // namespace karst
