// The checker's time grows with the source and not faster: repeated patterns of 400 KB, each of which would take
// minutes if something were looked through again and again.
#include <gtest/gtest.h>

#include <ctime>
#include <string>

#include "cli/check/check.h"
#include "cli/check/fix.h"

namespace karst::testing {
namespace {

using namespace cli::check;

constexpr size_t kSize = 400'000;

std::string Repeated(const std::string& pattern, const std::string& ahead, const std::string& behind) {
  std::string text = ahead;
  while (text.size() < kSize) text += pattern;
  return text + behind;
}

TEST(CheckEffort, GrowsWithTheSource) {
  const std::string sources[] = {
      Repeated("{", "", ""),
      Repeated("{\r\nint a\r\n", "", ""),
      Repeated("Field \"200\" {\r\n", "", ""),
      Repeated("Chain \"a\"\r\n", "Common \"a\" {\r\n}\r\nField \"200\" {\r\n", "}\r\n"),
      Repeated("loop 1\r\n", "", Repeated("endloop\r\n", "", "")),
      Repeated("break\r\n", "", "endloop\r\n"),
      Repeated("goto a\r\n:a\r\n", "", ""),
      Repeated("if 1 goto a\r\n", "", ":a\r\n"),
      Repeated(":a", "", ""),
      Repeated("'", "", ""),
      Repeated("'ab ", "", ""),
      Repeated("\"", "", ""),
      Repeated("\\\r\n", "int a = ", "1\r\n"),
      Repeated("(", "int a = ", ""),
      Repeated("1 ^ ", "int a = ", "1\r\n"),
      Repeated("printf(", "", ""),
      Repeated("b ", "", ""),
      Repeated("b = c\n", "", ""),
      Repeated("\xD6\xD0", "", ""),
      Repeated("\xE4\xB8\xAD", "", ""),
      Repeated("%d", "printf(\"", "\")\r\n"),
      Repeated(", 1", "printf(\"%d\"", ")\r\n"),
  };
  for (const std::string& source : sources) {
    SCOPED_TRACE(source.substr(0, 20));
    const std::clock_t start = std::clock();
    CheckSource(source, SourceKind::kScript);
    CheckSource(source, SourceKind::kFilter);
    Mend(source);
    EXPECT_LT((std::clock() - start) / CLOCKS_PER_SEC, 10);
  }
}

}  // namespace
}  // namespace karst::testing
