// The utility library: script errors, whole files, full paths, conversion for output.
#include "helpers/zebutil.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "support/temp_folder.h"
#include "support/text_at_end.h"

namespace karst {
namespace {

void PutFile(const std::string& name, const std::string& bytes) { std::ofstream(name, std::ios::binary) << bytes; }

class Zebutil : public ::testing::Test {
 protected:
  karst::testing::TempFolder folder_;
};

// "line: text" of the error that loading a file raises.
std::string ErrorOfLoading(const char* name) {
  CString content;
  try {
    LoadFileContentToString(name, content);
  } catch (const CError& error) {
    return std::to_string(error.second_code) + ": " + error.what();
  }
  return "none";
}

TEST_F(Zebutil, AnErrorIsItsTextCutAtAWholeCharacter) {
  constexpr size_t kMost = CError::kTextSize - 1;
  for (const size_t ascii : {kMost - 2, kMost - 1, kMost, kMost + 1, kMost + 500}) {
    const std::string text = std::string(ascii, 'x') + "中文";
    const TextAtEnd at_end(text);
    const CError error(at_end.get(), -1, -2);
    const size_t expected = ascii > kMost ? kMost : ascii + (kMost - ascii) / 2 * 2;
    EXPECT_EQ(std::strlen(error.what()), expected) << ascii;
    EXPECT_EQ(text.compare(0, expected, error.what()), 0);
    EXPECT_EQ(reinterpret_cast<const char*>(&error), error.what());
    EXPECT_EQ(error.first_code, -1);
    EXPECT_EQ(error.second_code, -2);
  }
  EXPECT_STREQ(CError(nullptr, 0, 0).what(), "");
}

TEST_F(Zebutil, FullPathNames) {
  const std::string here = folder_.path().string();
  struct Case {
    std::string name, expected;
  };
  const Case cases[] = {
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
      {"\x81\x5C\\..\\\x81\x5C", here + "/\x81\x5C"},  // a trail byte is no separator
      {"/\xB0", "/\xB0"},
  };
  for (const Case& c : cases) {
    CString name{std::string_view(c.name)};
    EXPECT_NE(MakeFullPathName(name), 0) << c.name;
    EXPECT_EQ(name.view(), c.expected) << c.name;
  }
  CString empty;
  EXPECT_EQ(MakeFullPathName(empty), 0);
  EXPECT_TRUE(empty.IsEmpty());
}

TEST_F(Zebutil, FullPathNamesInGbkAreFoundAgain) {
  for (const char* utf8 : {"\xE4\xB9\x97", "\xF0\x9F\x98\x80"}) {
    const std::filesystem::path directory = folder_.path() / utf8;
    std::filesystem::create_directory(directory);
    std::filesystem::current_path(directory);
    PutFile("\xE4\xB8\xAD.pro", "found");
    CString name("\xD6\xD0.pro");
    EXPECT_NE(MakeFullPathName(name), 0);
    std::filesystem::current_path("/");
    CString content;
    EXPECT_EQ(LoadFileContentToString(name, content), 0);
    EXPECT_EQ(content, "found");
  }
}

TEST_F(Zebutil, LoadsFilesOfEverySize) {
  for (const size_t size : {0u, 1u, 65535u, 65536u, 65537u, 300000u}) {
    std::string bytes(size, 0);
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(i * 31);
    EXPECT_EQ(DumpPackage("f", bytes.data(), bytes.size()), 0);
    CString content("old");
    EXPECT_EQ(LoadFileContentToString("f", content), 0);
    EXPECT_EQ(content.view(), bytes) << size;
  }
  CString content("old");
  EXPECT_EQ(LoadFileContentToString("/proc/self/status", content), 0);  // claims to have no bytes
  EXPECT_EQ(content.view().substr(0, 5), "Name:");
}

TEST_F(Zebutil, WhatCannotBeReadOrWrittenIsAnswered) {
  CString content("old");
  EXPECT_EQ(LoadFileContentToString("missing", content), -1);
  EXPECT_TRUE(content.IsEmpty());
  EXPECT_EQ(LoadFileContentToString(".", content), -1);
  EXPECT_EQ(LoadFileContentToString("", content), -1);
  EXPECT_EQ(DumpPackage("missing/f", "x", 1), -1);
  EXPECT_EQ(DumpPackage("f", "longer", 6), 0);
  EXPECT_EQ(DumpPackage("f", "x", 1), 0);
  EXPECT_EQ(std::filesystem::file_size("f"), 1u);
  std::ofstream("huge").close();
  std::filesystem::resize_file("huge", uintmax_t{1} << 31);
  EXPECT_EQ(LoadFileContentToString("huge", content), -1);
}

TEST_F(Zebutil, AMarkedUtf8FileBecomesGbk) {
  CString content;
  PutFile("f",
          "\xEF\xBB\xBF"
          "a\xE4\xB8\xAD\r\n");
  EXPECT_EQ(LoadFileContentToString("f", content), 0);
  EXPECT_EQ(content, "a\xD6\xD0\r\n");
  PutFile("f", "\xEF\xBB\xBF");
  EXPECT_EQ(LoadFileContentToString("f", content), 0);
  EXPECT_EQ(content, "");
  PutFile("f", "a\xE4\xB8\xAD");  // without the mark nothing is guessed
  EXPECT_EQ(LoadFileContentToString("f", content), 0);
  EXPECT_EQ(content, "a\xE4\xB8\xAD");
}

TEST_F(Zebutil, ACharacterThatGbkLacksIsReportedWithItsLine) {
  PutFile("f",
          "\xEF\xBB\xBF"
          "1\r\n2\n3\r4 \xF0\x9F\x98\x80");
  EXPECT_EQ(ErrorOfLoading("f"), "4: 文件中有GBK没有的字符U+1F600, 文件[f]...");
  PutFile("f", "\xEF\xBB\xBF\xC3\xB6");
  EXPECT_EQ(ErrorOfLoading("f"), "1: 文件中有GBK没有的字符U+00F6, 文件[f]...");
  PutFile("f", "\xEF\xBB\xBF\r\n\xD6\xD0");
  EXPECT_EQ(ErrorOfLoading("f"), "2: 文件中有不是UTF-8的字节0xD6, 文件[f]...");
}

struct Converted {
  int count;
  std::string bytes;
};

// The buffer is exactly `size` bytes long, so that a write behind it is seen.
Converted Convert(const char* text, const char* charset, int size) {
  const auto buffer = std::make_unique<char[]>(static_cast<size_t>(std::max(size, 0)));
  const int count = MakeBM(text, buffer.get(), size, charset);
  return {count, count < 0 ? "" : std::string(buffer.get(), static_cast<size_t>(count))};
}

TEST_F(Zebutil, ConvertsForOutput) {
  struct Case {
    const char* text;
    const char* charset;
    std::string expected;
  };
  const Case cases[] = {
      {"a\xD6\xD0", "", "a\xD6\xD0"},
      {"a\xD6\xFF", "GBK", "a\xD6\xFF"},
      {"a\xD6\xD0", "utf-8", "a\xE4\xB8\xAD"},
      {"a\xD6\xD0", "UTF-8", "a\xE4\xB8\xAD"},
      {"a\xD6\xD0", "utf-16le", std::string("a\0\x2D\x4E", 4)},
      {"\xD6\xD0", "big5", "\xA4\xA4"},
      {"a\xB9\xFA"
       "b",
       "big5", "a&#22269;b"},  // a simplified form
      {"\xB9\xFA", "big5//translit", "&#22269;"},
      {"\xB9\xFA\xD6\xD0", "iso-8859-1", "&#22269;&#20013;"},
      {"\xB9\xFA", "utf-16be", std::string("\x56\xFD")},
      {"\xA1\xB0"
       "a?\xA1\xB1",
       "us-ascii//TRANSLIT", "\"a?\""},
      {"\xA1\xB0", "us-ascii", "&#8220;"},
      {"a\xD6", "utf-8", "a\\xD6"},
      {"a\xFF\x81\x20", "utf-8", "a\\xFF\\x81 "},
      {"\xD6\xD0", "iso-2022-jp", "\x1B$BCf\x1B(B"},  // the shift back to ASCII is written
      {"", "utf-8", ""},
      {"", "//translit", ""},
  };
  for (const Case& c : cases) {
    const int size = static_cast<int>(c.expected.size());
    for (const int room : {size, size + 1, size + 100}) {
      const Converted exact = Convert(c.text, c.charset, room);
      EXPECT_EQ(exact.count, size) << c.text << " " << c.charset << " " << room;
      EXPECT_EQ(exact.bytes, c.expected) << c.text << " " << c.charset;
    }
    for (int room = -1; room < size; ++room) {
      EXPECT_EQ(Convert(c.text, c.charset, room).count, -1) << c.text << " " << c.charset << " " << room;
    }
  }
}

TEST_F(Zebutil, AnUnknownCharsetIsAnErrorThatNamesIt) {
  for (const char* charset : {"no-such-charset", "utf-8//ignore", "utf-8/x", "utf-8//translit//ignore"}) {
    try {
      Convert("a", charset, 10);
      ADD_FAILURE() << charset;
    } catch (const CError& error) {
      EXPECT_EQ(std::string(error.what()), std::string("不能识别的字符集[") + charset + "]...");
    }
  }
}

}  // namespace
}  // namespace karst
