// The utility library: script errors, whole files, full paths, conversion for output.
#include "helpers/zebutil.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include "support/readable.h"
#include "support/temp_folder.h"
#include "support/text_at_end.h"
#include "support/whole_files.h"

namespace karst::testing {
namespace {

class Zebutil : public ::testing::Test {
 protected:
  TempFolder folder_;
};

TEST(CError, IsItsTextCutAtAWholeCharacter) {
  constexpr size_t kMost = CError::kTextSize - 1;
  for (const size_t ascii : {kMost - 2, kMost - 1, kMost, kMost + 1, kMost + 500}) {
    const std::string text = std::string(ascii, 'x') + "中文";
    const CError error(TextAtEnd(text).get(), -1, -2);
    EXPECT_EQ(error.what(), text.substr(0, ascii > kMost ? kMost : ascii + (kMost - ascii) / 2 * 2)) << ascii;
    EXPECT_EQ(reinterpret_cast<const char*>(&error), error.what());
    EXPECT_EQ(error.first_code, -1);
    EXPECT_EQ(error.second_code, -2);
  }
  EXPECT_STREQ(CError(nullptr, 0, 0).what(), "");
}

TEST_F(Zebutil, FullPathNames) {
  const std::string here = folder_.path().string();
  const std::pair<std::string, std::string> cases[] = {
      {"a.pro", here + "/a.pro"},
      {".\\x\\..\\a.pro", here + "/a.pro"},
      {"x//y/./z", here + "/x/y/z"},
      {"C:\\a.pro", here + "/C:/a.pro"},
      {"/", "/"},
      {"/..", "/"},
      {"/../../a/b/..", "/a"},
      {"\\a\\\\b\\", "/a/b"},
      {"...", here + "/..."},
      {".", here},
      {"/\xB0", "/\xB0"},
      {"\x81\x5C\\..\\\x81\x5C", here + "/\x81\x5C"},  // a trail byte is no separator
  };
  for (const auto& [given, expected] : cases) {
    CString name{std::string_view(given)};
    EXPECT_NE(MakeFullPathName(name), 0) << given;
    EXPECT_EQ(name.view(), expected) << given;
  }
  CString empty;
  EXPECT_EQ(MakeFullPathName(empty), 0);
  for (const char* utf8 : {"\xE4\xB9\x97", "\xF0\x9F\x98\x80"}) {
    std::filesystem::create_directory(folder_.path() / utf8);
    std::filesystem::current_path(folder_.path() / utf8);
    WriteWhole("\xE4\xB8\xAD.pro", "found");
    CString name("\xD6\xD0.pro"), content;
    EXPECT_NE(MakeFullPathName(name), 0);
    std::filesystem::current_path("/");
    EXPECT_EQ(LoadFileContentToString(name, content), 0);
    EXPECT_EQ(content, "found");
  }
}

TEST_F(Zebutil, LoadsAndWritesWholeFiles) {
  CString content("old");
  for (const size_t size : {300000u, 0u, 1u, 65535u, 65536u, 65537u}) {
    std::string bytes(size, 0);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 31);
    EXPECT_EQ(DumpPackage("f", bytes.data(), bytes.size()), 0);
    EXPECT_EQ(LoadFileContentToString("f", content), 0);
    EXPECT_EQ(content.view(), bytes) << size;
  }
  EXPECT_EQ(LoadFileContentToString("/proc/self/status", content), 0);  // claims to have no bytes
  EXPECT_EQ(content.view().substr(0, 5), "Name:");
  EXPECT_EQ(DumpPackage("missing/f", "x", 1), -1);
  WriteWhole("huge", "");
  std::filesystem::resize_file("huge", uintmax_t{1} << 31);
  for (const char* name : {"missing", ".", "", "huge"}) EXPECT_EQ(LoadFileContentToString(name, content), -1) << name;
  EXPECT_TRUE(content.IsEmpty());
}

TEST_F(Zebutil, AMarkedUtf8FileBecomesGbk) {
  const std::string mark = "\xEF\xBB\xBF";
  const std::pair<std::string, std::string> cases[] = {
      {mark + "a\xE4\xB8\xAD\r\n", "a\xD6\xD0\r\n"},
      {mark, ""},
      {"a\xE4\xB8\xAD", "a\xE4\xB8\xAD"},  // without the mark nothing is guessed
      {mark + "1\r\n2\n3\r4 \xF0\x9F\x98\x80", "4: 文件中有GBK没有的字符U+1F600, 文件[f]..."},
      {mark + "\xC3\xB6", "1: 文件中有GBK没有的字符U+00F6, 文件[f]..."},
      {mark + "\r\n\xD6\xD0", "2: 文件中有不是UTF-8的字节0xD6, 文件[f]..."},
  };
  for (const auto& [bytes, loaded] : cases) {
    WriteWhole("f", bytes);
    CString content;
    try {
      EXPECT_EQ(LoadFileContentToString("f", content), 0);
      EXPECT_EQ(content.view(), loaded);
    } catch (const CError& error) {
      EXPECT_EQ(std::to_string(error.second_code) + ": " + error.what(), loaded);
    }
  }
}

TEST(MakeBM, ConvertsForOutput) {
  const struct {
    const char* text;
    const char* charset;
    std::string expected;
  } cases[] = {
      {"a\xD6\xD0", "", "a\xD6\xD0"},
      {"a\xD6\xFF", "GBK", "a\xD6\xFF"},
      {"a\xD6\xD0", "UTF-8", "a\xE4\xB8\xAD"},
      {"a\xD6\xD0", "utf-16le", std::string("a\0\x2D\x4E", 4)},
      {"\xD6\xD0\xB9\xFA!", "big5", "\xA4\xA4&#22269;!"},  // the second has a simplified form
      {"\xB9\xFA", "big5//translit", "&#22269;"},
      {"\xB9\xFA\xD6\xD0", "iso-8859-1", "&#22269;&#20013;"},
      {"\xB9\xFA", "utf-16be", "\x56\xFD"},
      {"\xA1\xB0?\xA1\xB1", "us-ascii//TRANSLIT", "\"?\""},
      {"\xA1\xB0", "us-ascii", "&#8220;"},
      {"a\xFF\x81\x20\xD6", "utf-8", "a\\xFF\\x81 \\xD6"},
      {"\xD6\xD0", "iso-2022-jp", "\x1B$BCf\x1B(B"},  // the shift back to ASCII is written
      {"", "//translit", ""},
  };
  for (const auto& each : cases) {
    const int size = static_cast<int>(each.expected.size());
    for (int room = -1; room < size + 3; ++room) {
      SCOPED_TRACE(std::string(each.text) + " " + each.charset + " " + std::to_string(room));
      // Exactly as long as the room, so that a write after it is seen.
      const auto buffer = std::make_unique<char[]>(static_cast<size_t>(std::max(room, 0)));
      const int count = MakeBM(each.text, buffer.get(), room, each.charset);
      EXPECT_EQ(count, room < size ? -1 : size);
      if (count >= 0) {
        EXPECT_EQ(std::string(buffer.get(), static_cast<size_t>(count)), each.expected);
      }
    }
  }
  for (const char* charset : {"no-such-charset", "utf-8//ignore", "utf-8/x", "utf-8//translit//ignore"}) {
    char room[9];
    EXPECT_EQ(RefusalOf([&] { MakeBM("a", room, 9, charset); }), std::string("不能识别的字符集[") + charset + "]...");
  }
}

}  // namespace
}  // namespace karst::testing
