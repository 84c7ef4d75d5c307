// Rewriting: taken whole, as loading does, and byte by byte, as a trace does, a source gives the same code. And where
// its literals end.
#include "language/source_rewrite.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>

namespace karst {
namespace {

TEST(SourceRewrite, IsTheSameAtOnceAndByteByByte) {
  constexpr std::string_view kPieces[] = {"\"", "\"", "#", "\\", "\r", "\n", "\r\n", "\\\r\n", "ab", "'", "\x81\\"};
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    std::string source;
    for (auto left = random() % 12; left > 0; --left) source += kPieces[random() % std::size(kPieces)];
    if (random() % 4 == 0) source.insert(random() % (source.size() + 1), 1, '\0');
    CString code;
    SourceRewrite whole(code);
    whole.TakeAll(source);
    TracedRewrite traced;
    for (size_t at = 0; at < source.size() && traced.Take(source[at], at);) ++at;
    ASSERT_EQ(traced.Code(), code.view()) << source;
    ASSERT_EQ(traced.Rewrite().Place(), whole.Place()) << source;
    ASSERT_EQ(traced.Rewrite().OpenLiteral(), whole.OpenLiteral()) << source;
  }
}

TEST(SourceRewrite, TracesWhatItKeeps) {
  constexpr std::string_view kSource = "a # b\r\n\"x\\n\"\\\r\nc\r\n";
  TracedRewrite traced;
  for (size_t at = 0; at < kSource.size(); ++at) traced.Take(kSource[at], at);
  std::string origins;
  for (size_t at = 0; at < traced.Code().size(); ++at) origins += std::to_string(traced.OriginOf(at)) + " ";
  EXPECT_EQ(origins, "0 1 5 6 7 7 7 7 7 8 10 11 15 16 17 17 17 ");
}

TEST(Literals, EndBeforeTheFinalNulWhateverTheirLength) {
  for (const int32_t length : {-1, 0, 3, 4, 0x7fffffff}) {
    std::string code("\"    ab\0", 8);  // and the final NUL after it
    std::memcpy(code.data() + 1, &length, sizeof length);
    const CodeSpan span{code.c_str(), code.c_str() + code.size() + 1};
    EXPECT_EQ(BehindLiteral(span, span.begin) - span.begin, 8) << length;
  }
}

}  // namespace
}  // namespace karst
