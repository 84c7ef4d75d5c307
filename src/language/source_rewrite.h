// The rewriting of a source into code: comments out, continued lines joined, literals with their length in front.
// Bytes in, bytes out: it knows nothing of double-byte characters.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "language/token.h"
#include "text/bytestring.h"

namespace karst {

// Where in a source a rewrite stands.
enum class SourcePlace : uint8_t {
  kCode,
  kCodeEscape,  // after a backslash
  kCodeJoint,   // after the CR of a line that goes on in the next: one more byte, the LF, belongs to it
  kComment,
  kLiteral,
  kLiteralEscape,
  kLiteralJoint,
};

class SourceRewrite {
 public:
  // The code is empty, and outlives the object.
  explicit SourceRewrite(CString& code) : code_(code) {}

  // Takes the source's next byte. False for the NUL that ends a source, which is not taken.
  bool Take(char byte);
  // Takes a whole source.
  void TakeAll(std::string_view source);

  SourcePlace Place() const { return place_; }
  bool InLiteral() const { return place_ >= SourcePlace::kLiteral; }
  // How many bytes of the source stand before the literal that is open.
  size_t OpenLiteral() const { return literal_begin_; }
  // Closes the literal that is open, without its text.
  void GiveUpLiteral();
  // Ends the comment, as the end of its line does.
  void EndComment() { place_ = SourcePlace::kCode; }

 private:
  size_t TakePlain(std::string_view source);
  bool TakeInCode(char byte);
  bool TakeInLiteral(char byte);
  void Join(SourcePlace joint);
  void OpenLiteralHere();
  void CloseLiteral();

  CString& code_;
  size_t taken_ = 0;
  size_t head_ = 0;  // of the last literal, in the code
  size_t literal_begin_ = 0;
  int line_ends_owed_ = 0;  // by the joined lines, after which they are paid
  SourcePlace place_ = SourcePlace::kCode;
};

// A rewrite that keeps in mind where each byte of the code comes from.
class TracedRewrite {
 public:
  TracedRewrite() : rewrite_(code_) {}
  TracedRewrite(const TracedRewrite&) = delete;
  TracedRewrite& operator=(const TracedRewrite&) = delete;

  // As SourceRewrite's; the byte stands at `offset` of the source.
  bool Take(char byte, size_t offset) {
    const bool taken = rewrite_.Take(byte);
    origins_.resize(code_.size(), static_cast<uint32_t>(offset));
    return taken;
  }
  void GiveUpLiteral() {
    rewrite_.GiveUpLiteral();
    origins_.resize(code_.size(), origins_.back());
  }
  void EndComment() { rewrite_.EndComment(); }
  const SourceRewrite& Rewrite() const { return rewrite_; }

  std::string_view Code() const { return code_.view(); }
  CodeSpan Span() const { return {code_.data(), code_.data() + code_.size() + 1}; }
  // Where in the source a byte of the code comes from: for the head of a literal, its opening quote.
  size_t OriginOf(size_t code) const { return origins_[code]; }

 private:
  CString code_;
  SourceRewrite rewrite_;
  std::vector<uint32_t> origins_;  // a source has less than 2 GB
};

}  // namespace karst
