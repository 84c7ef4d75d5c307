// Between UTF-8 and GBK so that nothing is lost in either direction: what comes back is what went, byte by byte.
//
// A character that GBK has no place for stands in GBK text as "&#N;", N its decimal code; a byte of a UTF-8 text that
// belongs to no character stands as the same with N = 56320 + byte, a byte of a GBK text that belongs to none stands in
// UTF-8 with N = 56576 + byte (codes that no character has). Text that has the look of such a reference from the start
// gets "#38;" after its "&", one more for each that it has already; so both ways know which is which. References
// to characters that GBK has, and to "&", are text like any other.
//
// LIMIT: text that had the look of a reference to a byte in UTF-8 from the start becomes that byte in GBK.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace karst::cli {

// Appends `utf8` to `gbk`, converted. Gives the number of characters and bytes that had no place and became references.
uint64_t ToGbkReversibly(std::string_view utf8, std::string& gbk);
// Appends `gbk` to `utf8`, converted; references become what they stand for. Gives the number of bytes that belong to
// no character.
uint64_t ToUtf8Reversibly(std::string_view gbk, std::string& utf8);

// ToUtf8Reversibly for text that comes piece by piece: what the cut goes through, a character or a reference, is held
// back until the rest comes.
class ReversibleUtf8Stream {
 public:
  void Convert(std::string_view gbk, std::string& utf8);
  // Adds what was held back.
  void Finish(std::string& utf8);

 private:
  std::string held_;
};

bool IsValidUtf8(std::string_view text);

}  // namespace karst::cli
