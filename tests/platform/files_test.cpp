// The file layer: handles used wrongly, the styles of opening, names in GBK.
#include "platform/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "support/temp_folder.h"

namespace karst {
namespace {

void PutFile(const std::string& name, const std::string& bytes) { std::ofstream(name, std::ios::binary) << bytes; }

std::string GetFile(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string ReadAll(const char* name) {
  const FileHandle file = OpenForReading(name);
  std::string bytes(1000, '#');
  const int64_t count = ReadFile(file, bytes.data(), bytes.size());
  CloseFile(file);
  return count < 0 ? "failure" : bytes.substr(0, static_cast<size_t>(count));
}

class Files : public ::testing::Test {
 protected:
  karst::testing::TempFolder folder_;
};

TEST_F(Files, HandlesThatNameNoFileFail) {
  PutFile("there", "x");
  const FileHandle closed = OpenForReading("there");
  ASSERT_GT(closed, 0);
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
  EXPECT_EQ(ReadFile(open, &byte, 1), 1);
  EXPECT_EQ(CloseFile(open), 0);
}

TEST_F(Files, StylesOfOpening) {
  EXPECT_EQ(OpenWithStyle("f", kStyleRead), -1);
  EXPECT_EQ(OpenWithStyle("f", kStyleWrite), -1);
  EXPECT_EQ(OpenWithStyle("f", kStyleExists), -1);
  EXPECT_EQ(OpenWithStyle("f", kStyleCreate | kStyleExists), -1);
  EXPECT_EQ(OpenWithStyle("f", kStyleDelete), -1);
  EXPECT_FALSE(std::filesystem::exists("f"));

  for (const unsigned style : {unsigned{kStyleCreate}, unsigned{kStyleCreate | kStyleWrite}}) {
    const FileHandle made = OpenWithStyle("f", style);
    EXPECT_EQ(WriteFile(made, "hello"), 5);
    EXPECT_EQ(CloseFile(made), 0);
    EXPECT_EQ(GetFile("f"), "hello");
  }
  EXPECT_EQ(OpenWithStyle("f", kStyleExists), 1);
  const FileHandle writer = OpenWithStyle("f", kStyleWrite);
  char byte;
  EXPECT_EQ(ReadFile(writer, &byte, 1), -1);
  EXPECT_EQ(WriteFile(writer, "J"), 1);
  EXPECT_EQ(CloseFile(writer), 0);
  EXPECT_EQ(GetFile("f"), "Jello");
  const FileHandle reader = OpenWithStyle("f", kStyleRead);
  EXPECT_EQ(WriteFile(reader, "x"), -1);
  EXPECT_EQ(WriteFile(reader, ""), -1);
  EXPECT_EQ(TruncateHere(reader), -1);
  EXPECT_EQ(CloseFile(reader), 0);
  EXPECT_EQ(OpenWithStyle("f", kStyleDelete), 1);
  EXPECT_FALSE(std::filesystem::exists("f"));
}

TEST_F(Files, ADirectoryIsNoFile) {
  std::filesystem::create_directory("d");
  EXPECT_EQ(OpenForReading("d"), -1);
  EXPECT_EQ(CreateForWriting("d"), -1);
  EXPECT_EQ(OpenWithStyle("d", kStyleExists), -1);
  EXPECT_EQ(DeleteFile("d"), -1);
  EXPECT_EQ(OpenForReading(""), -1);
}

TEST_F(Files, SeeksFromThreeOriginsAndFarAway) {
  PutFile("f", "0123456789");
  const FileHandle file = OpenForReading("f");
  char byte = 0;
  EXPECT_EQ(SeekFile(file, 4, SeekFrom::kStart), 4);
  EXPECT_EQ(SeekFile(file, -1, SeekFrom::kCurrent), 3);
  EXPECT_EQ(ReadFile(file, &byte, 1), 1);
  EXPECT_EQ(byte, '3');
  EXPECT_EQ(SeekFile(file, -1, SeekFrom::kStart), -1);
  EXPECT_EQ(SeekFile(file, 0, SeekFrom::kCurrent), 4);
  EXPECT_EQ(SeekFile(file, 0, SeekFrom::kEnd), 10);
  EXPECT_EQ(ReadFile(file, &byte, 1), 0);
  EXPECT_EQ(SeekFile(file, 5'000'000'000, SeekFrom::kStart), 5'000'000'000);
  EXPECT_EQ(ReadFile(file, &byte, 1), 0);
  EXPECT_EQ(SeekFile(file, INT64_MAX, SeekFrom::kCurrent), -1);
  EXPECT_EQ(FileSize(file), 10);
  CloseFile(file);
}

TEST_F(Files, AppendsAndCuts) {
  const FileHandle first = OpenForAppending("f");
  EXPECT_EQ(WriteFile(first, "abc"), 3);
  const FileHandle second = OpenForAppending("f");
  EXPECT_EQ(WriteFile(second, "def"), 3);
  EXPECT_EQ(GetFile("f"), "abcdef");
  EXPECT_EQ(SeekFile(first, 0, SeekFrom::kStart), 0);
  EXPECT_EQ(TruncateHere(first), 0);
  EXPECT_EQ(GetFile("f"), "");
  EXPECT_EQ(WriteFile(first, "x"), 1);
  EXPECT_EQ(GetFile("f"), "x");
  CloseFile(first);
  CloseFile(second);
}

// More files than the process may have descriptors.
class FewDescriptors {
 public:
  FewDescriptors() {
    getrlimit(RLIMIT_NOFILE, &before_);
    rlimit few = before_;
    few.rlim_cur = 64;
    setrlimit(RLIMIT_NOFILE, &few);
  }
  ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }

 private:
  rlimit before_{};
};

TEST_F(Files, OutputsAreNotLimitedByDescriptors) {
  const FewDescriptors few;
  constexpr int kCount = 300;
  const auto name = [](int i) { return std::to_string(i); };
  std::vector<FileHandle> files;
  for (int i = 0; i < kCount; ++i) {
    files.push_back(OpenForAppending(name(i).c_str()));
    ASSERT_EQ(WriteFile(files[i], "abc"), 3) << i;
  }
  // Of files that are put aside: one whose position was moved, one emptied, one removed by its user, and one each
  // removed and replaced from outside.
  EXPECT_EQ(SeekFile(files[0], 1, SeekFrom::kStart), 1);
  EXPECT_EQ(SeekFile(files[1], 0, SeekFrom::kStart), 0);
  EXPECT_EQ(TruncateHere(files[1]), 0);
  for (int i = 2; i < 200; ++i) EXPECT_EQ(WriteFile(files[i], "d"), 1);
  EXPECT_EQ(DeleteFile("2"), 0);
  std::filesystem::remove("3");
  std::filesystem::rename("4", "moved");
  PutFile("4", "other");
  for (int i = 0; i < kCount; ++i) EXPECT_EQ(WriteFile(files[i], "e"), 1) << i;
  // Any other file finds room.
  std::vector<FileHandle> readers;
  for (FileHandle file; (file = OpenForReading("5")) != kNoFile;) readers.push_back(file);
  EXPECT_GT(readers.size(), 30u);
  for (const FileHandle file : readers) CloseFile(file);
  for (const FileHandle file : files) EXPECT_EQ(CloseFile(file), 0);
  const std::pair<const char*, const char*> contents[] = {{"0", "aec"},   {"1", "e"},      {"2", ""},
                                                          {"3", "e"},     {"4", "othere"}, {"moved", "abcd"},
                                                          {"5", "abcde"}, {"299", "abce"}};
  for (const auto& [file, bytes] : contents) EXPECT_EQ(GetFile(file), bytes) << file;
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

TEST_F(Files, ManyThreadsShareTheTable) {
  std::vector<std::thread> threads;
  std::atomic<int> right = 0;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&right, t] {
      const std::string name = "f" + std::to_string(t);
      for (int i = 0; i < 200; ++i) {
        const FileHandle file = OpenForAppending(name.c_str());
        right += WriteFile(file, "x") == 1 && CloseFile(file) == 0 && CloseFile(file) == -1;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(right, 800);
}

TEST_F(Files, NamesAreGbkWithBackslashes) {
  std::filesystem::create_directories("C:/\xE4\xB9\x97");
  // The directory's name is one character whose trail byte is a backslash.
  const char* const name = "C:\\\x81\x5C\\\xD6\xD0.txt";
  EXPECT_EQ(ToFileSystemName(name), "C:/\xE4\xB9\x97/\xE4\xB8\xAD.txt");
  const FileHandle file = CreateForWriting(name);
  EXPECT_EQ(WriteFile(file, "found"), 5);
  CloseFile(file);
  EXPECT_EQ(GetFile("C:/\xE4\xB9\x97/\xE4\xB8\xAD.txt"), "found");
  EXPECT_EQ(FromFileSystemName("C:/\xE4\xB9\x97/\xE4\xB8\xAD.txt"), "C:/\x81\x5C/\xD6\xD0.txt");
  EXPECT_EQ(ReadAll("C:/\x81\x5C\\\xD6\xD0.txt"), "found");
  EXPECT_EQ(ToFileSystemName("a\\b\\\xB0"), "a/b/\xB0");
  EXPECT_EQ(ToFileSystemName("\\\\x\\"), "//x/");
}

TEST_F(Files, NamesWithOtherBytesStayUsable) {
  // On disk: a folder whose name has no place in GBK, in it a file named with GBK bytes and one in UTF-8.
  const std::string folder = "\xF0\x9F\x98\x80";
  std::filesystem::create_directory(folder);
  PutFile(folder + "/\xD6\xD0", "raw");
  PutFile(folder + "/\xE4\xB8\xAD\xE6\x96\x87", "utf-8");
  const std::string full = std::filesystem::current_path().string() + "/" + folder;
  EXPECT_EQ(ReadAll((std::string(FromFileSystemName(full).c_str()) + "\\\xD6\xD0").c_str()), "raw");
  const CString other = FromFileSystemName(full + "/\xE4\xB8\xAD\xE6\x96\x87");
  EXPECT_EQ(other.view().substr(other.size() - 4), "\xD6\xD0\xCE\xC4");
  EXPECT_EQ(ReadAll(other), "utf-8");
  EXPECT_EQ(FromFileSystemName("a\xFF/\xE4\xB8\xAD"), "a\xFF/\xD6\xD0");
}

}  // namespace
}  // namespace karst
