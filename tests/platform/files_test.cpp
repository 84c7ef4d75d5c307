// The file layer: handles used wrongly, the styles of opening, more outputs than descriptors, names in GBK.
#include "platform/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <thread>
#include <vector>

#include "support/temp_folder.h"
#include "support/whole_files.h"

namespace karst {
namespace {

using testing::ReadWhole;
using testing::WriteWhole;

class Files : public ::testing::Test {
 protected:
  testing::TempFolder folder_;
};

TEST_F(Files, HandlesThatNameNoFileFail) {
  WriteWhole("there", "x");
  std::filesystem::create_directory("d");
  for (const char* name : {"d", "", "none"}) EXPECT_EQ(OpenForReading(name), kNoFile);
  EXPECT_EQ(CreateForWriting("d"), -1);
  EXPECT_EQ(DeleteFile("d"), -1);
  const FileHandle closed = OpenForReading("there");
  EXPECT_EQ(CloseFile(closed), 0);
  const FileHandle open = OpenForReading("there");
  EXPECT_NE(open, closed);
  char byte;
  for (const FileHandle wrong : {closed, 0, -1, open + 1, INT32_MAX, INT32_MIN}) {
    EXPECT_EQ(CloseFile(wrong), -1) << wrong;
    EXPECT_EQ(SeekFile(wrong, 0, SeekFrom::kStart), -1) << wrong;
    EXPECT_EQ(ReadFile(wrong, &byte, 1), -1) << wrong;
    EXPECT_EQ(WriteFile(wrong, "x"), -1) << wrong;
    EXPECT_EQ(FileSize(wrong), -1) << wrong;
    EXPECT_EQ(TruncateHere(wrong), -1) << wrong;
  }
  EXPECT_EQ(CloseFile(open), 0);
}

TEST_F(Files, StylesOfOpeningAndPlacesInAFile) {
  for (const unsigned style : std::initializer_list<unsigned>{kStyleRead, kStyleWrite, kStyleExists,
                                                              kStyleCreate | kStyleExists, kStyleDelete}) {
    EXPECT_EQ(OpenWithStyle("f", style), -1) << style;
  }
  EXPECT_FALSE(std::filesystem::exists("f"));
  for (const unsigned style : {unsigned{kStyleCreate}, unsigned{kStyleCreate | kStyleWrite}}) {
    const FileHandle made = OpenWithStyle("f", style);
    EXPECT_EQ(WriteFile(made, "0123456789"), 10);
    EXPECT_EQ(CloseFile(made), 0);
  }
  EXPECT_EQ(OpenWithStyle("f", kStyleExists), 1);
  char byte = 0;
  const FileHandle writer = OpenWithStyle("f", kStyleWrite);
  EXPECT_EQ(ReadFile(writer, &byte, 1), -1);
  EXPECT_EQ(WriteFile(writer, "a"), 1);
  EXPECT_EQ(CloseFile(writer), 0);
  const FileHandle reader = OpenWithStyle("f", kStyleRead);
  EXPECT_EQ(WriteFile(reader, ""), -1);
  EXPECT_EQ(TruncateHere(reader), -1);
  EXPECT_EQ(SeekFile(reader, 4, SeekFrom::kStart), 4);
  EXPECT_EQ(SeekFile(reader, -4, SeekFrom::kCurrent), 0);
  EXPECT_EQ(ReadFile(reader, &byte, 1), 1);
  EXPECT_EQ(byte, 'a');
  EXPECT_EQ(SeekFile(reader, -1, SeekFrom::kStart), -1);
  EXPECT_EQ(SeekFile(reader, 0, SeekFrom::kCurrent), 1);
  EXPECT_EQ(SeekFile(reader, 0, SeekFrom::kEnd), 10);
  EXPECT_EQ(SeekFile(reader, 5'000'000'000, SeekFrom::kStart), 5'000'000'000);
  EXPECT_EQ(ReadFile(reader, &byte, 1), 0);
  EXPECT_EQ(SeekFile(reader, INT64_MAX, SeekFrom::kCurrent), -1);
  EXPECT_EQ(FileSize(reader), 10);
  EXPECT_EQ(OpenWithStyle("f", kStyleDelete), 1);
  EXPECT_FALSE(std::filesystem::exists("f"));
  CloseFile(reader);
}

TEST_F(Files, OutputsAreNotLimitedByDescriptors) {
  rlimit before{};
  getrlimit(RLIMIT_NOFILE, &before);
  const rlimit few{64, before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &few);
  constexpr int kCount = 300;
  std::vector<FileHandle> files;
  for (int i = 0; i < kCount; ++i) {
    files.push_back(OpenForAppending(std::to_string(i).c_str()));
    ASSERT_EQ(WriteFile(files.back(), "abc"), 3) << i;
  }
  // Of files that are put aside: one whose position was moved, one emptied, one removed by its user, and one each
  // removed and replaced from outside.
  EXPECT_EQ(SeekFile(files[0], 1, SeekFrom::kStart), 1);
  EXPECT_EQ(SeekFile(files[1], 0, SeekFrom::kStart), 0);
  EXPECT_EQ(TruncateHere(files[1]), 0);
  for (int i = 2; i < 200; ++i) EXPECT_EQ(WriteFile(files[static_cast<size_t>(i)], "d"), 1);
  EXPECT_EQ(DeleteFile("2"), 0);
  std::filesystem::remove("3");
  std::filesystem::rename("4", "moved");
  WriteWhole("4", "other");
  for (const FileHandle file : files) EXPECT_EQ(WriteFile(file, "e"), 1);
  // Any other file finds room.
  std::vector<FileHandle> readers;
  for (FileHandle file; (file = OpenForReading("5")) != kNoFile;) readers.push_back(file);
  EXPECT_GT(readers.size(), 30u);
  for (const FileHandle file : readers) CloseFile(file);
  for (const FileHandle file : files) EXPECT_EQ(CloseFile(file), 0);
  setrlimit(RLIMIT_NOFILE, &before);
  const std::pair<const char*, const char*> contents[] = {
      {"0", "aec"}, {"1", "e"}, {"3", "e"}, {"4", "othere"}, {"moved", "abcd"}, {"5", "abcde"}, {"299", "abce"}};
  for (const auto& [file, bytes] : contents) EXPECT_EQ(ReadWhole(file), bytes) << file;
  EXPECT_FALSE(std::filesystem::exists("2"));
}

TEST_F(Files, APipeIsReadToItsEndAndHasNoPosition) {
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  std::thread writer([] {
    const FileHandle out = OpenForAppending("pipe");
    WriteFile(out, "one ");
    usleep(20000);
    WriteFile(out, "two");
    CloseFile(out);
  });
  const FileHandle in = OpenForReading("pipe");
  char bytes[100];
  EXPECT_EQ(SeekFile(in, 0, SeekFrom::kStart), -1);
  EXPECT_EQ(FileSize(in), -1);
  EXPECT_EQ(ReadFile(in, bytes, sizeof bytes), 7);
  EXPECT_EQ(std::string(bytes, 7), "one two");
  writer.join();
  CloseFile(in);
}

TEST_F(Files, NoDescriptorLivesOnInAProgramThatIsStarted) {
  const int before = open("probe", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  close(before);
  const FileHandle file = CreateForWriting("f");  // gets the number that was free a moment ago
  EXPECT_EQ(fcntl(before, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
  CloseFile(file);
  EXPECT_EQ(fcntl(before, F_GETFD), -1);
}

// The first directory's name is one character whose trail byte is a backslash; the second one's has no place in GBK.
TEST_F(Files, NamesAreGbkWithBackslashesAndOtherBytesStayUsable) {
  const std::pair<const char*, const char*> names[] = {
      {"C:/\xE4\xB9\x97/\xE4\xB8\xAD.txt", "C:\\\x81\x5C\\\xD6\xD0.txt"},
      {"\xF0\x9F\x98\x80/\xD6\xD0", "\xF0\x9F\x98\x80\\\xD6\xD0"},
      {"\xF0\x9F\x98\x80/\xE4\xB8\xAD\xE6\x96\x87", "\xF0\x9F\x98\x80\\\xD6\xD0\xCE\xC4"},
  };
  for (const auto& [on_disk, gbk] : names) {
    std::filesystem::create_directories(std::filesystem::path(on_disk).parent_path());
    WriteWhole(on_disk, on_disk);
    for (const std::string& name : {std::string(gbk), std::string(FromFileSystemName(on_disk).c_str())}) {
      const FileHandle file = OpenForReading(name.c_str());
      char bytes[100] = "";
      EXPECT_GT(ReadFile(file, bytes, 99), 0) << name;
      EXPECT_STREQ(bytes, on_disk);
      CloseFile(file);
    }
  }
  EXPECT_EQ(FromFileSystemName(names[0].first), "C:/\x81\x5C/\xD6\xD0.txt");
  EXPECT_EQ(FromFileSystemName("a\xFF/\xE4\xB8\xAD"), "a\xFF/\xD6\xD0");
  EXPECT_EQ(ToFileSystemName("a\\b\\\xB0"), "a/b/\xB0");
  EXPECT_EQ(ToFileSystemName("\\\\x\\"), "//x/");
}

}  // namespace
}  // namespace karst
