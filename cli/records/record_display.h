// RecordDisplay: a record as lines for reading: the control number, then each field with its tag, its indicators and
// its subfields in columns.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace karst::cli {

// The columns that a character takes on a terminal: 0, 1 or 2.
unsigned ColumnsOf(char32_t code);

class RecordDisplay {
 public:
  struct Style {
    bool colours = false;
    size_t columns = 0;               // lines are broken so that they fit; 0: not at all
    std::vector<std::string> fields;  // tags to show, "*" for any character; none: all
  };
  explicit RecordDisplay(Style style) : style_(std::move(style)) {}

  // Appends the lines of a record in the internal form, in UTF-8, and an empty line. Control characters, which a
  // terminal would obey, come out as "\xHH", and so does what is no UTF-8.
  void Append(std::string_view record, uint64_t number, std::string& out);

 private:
  bool IsWanted(std::string_view tag) const;
  void AppendHead(std::string_view record, uint64_t number);
  void AppendField(std::string_view field);
  void AppendData(std::string_view data);
  void Put(std::string_view text);
  void PutCharacter(std::string_view bytes, size_t columns);
  void Colour(std::string_view code);
  void EndLine();

  const Style style_;
  std::string* out_ = nullptr;
  size_t column_ = 0;
};

}  // namespace karst::cli
