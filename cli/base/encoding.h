// Between GBK, in which the engine's texts are, and the encoding that the user asked for.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace karst::cli {

enum class Encoding { kUtf8, kGbk };

// What the environment's locale says; UTF-8 if it says nothing.
Encoding LocaleEncoding();

// A byte for messages, as 0x8F.
std::string Hexadecimal(char byte);

// A converter of the C library. Null for a charset that it does not know; std::bad_alloc where it lacks memory, or
// descriptors for its own files.
void* OpenConverter(const char* to, const char* from);
struct CloseConverter {
  void operator()(void* converter) const;
};
using ConverterHandle = std::unique_ptr<void, CloseConverter>;

// Turns GBK that comes piece by piece into UTF-8. A character cut in two by the pieces comes out whole. A byte that
// is no GBK comes out as \xHH with its value, and the bytes after it are read afresh.
class Utf8Stream {
 public:
  // Adds what `gbk` comes to at the end of `utf8`.
  void Convert(std::string_view gbk, std::string& utf8);
  // Adds the half character that was never completed, if there is one.
  void Finish(std::string& utf8);

 private:
  void ConvertRun(std::string_view& gbk, std::string& utf8);

  ConverterHandle converter_;  // made at the first byte that is not ASCII
  char lead_byte_ = 0;         // first half of a character whose second half is still to come
};

// Adds each byte as \xHH with its value.
void AppendEscaped(std::string_view bytes, std::string& text);

// A whole text.
std::string ToUtf8(std::string_view gbk);
// False if the bytes are no UTF-8 or a character has no place in GBK; each such character is then "〓" in `gbk`.
bool ToGbk(std::string_view utf8, std::string& gbk);
// The same for the program's own texts, which GBK always has.
std::string ToGbk(std::string_view utf8);

}  // namespace karst::cli
