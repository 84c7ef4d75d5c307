// The C interface as a host uses it: results, texts in both encodings, failures and what stands after them, callbacks.
#include <gtest/gtest.h>
#include <karst/karst.h>

#include <atomic>
#include <thread>

#include "support/filter_bench.h"
#include "support/readable.h"
#include "support/temp_folder.h"
#include "support/whole_files.h"

namespace karst::testing {
namespace {

void Collect(void* user, const char* text, size_t length) { static_cast<std::string*>(user)->append(text, length); }

class Engine {
 public:
  explicit Engine(karst_encoding encoding = KARST_GBK) : handle_(karst_engine_new(encoding)) {
    karst_on_message(handle_, Collect, &messages);
    karst_on_output(handle_, Collect, &output);
  }
  ~Engine() { karst_engine_free(handle_); }
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;
  operator karst_engine*() { return handle_; }

  karst_status Load(std::string_view filter) {
    WriteWhole("f.flt", CrLf(filter));
    return karst_load_filter(handle_, "f.flt", 5);
  }
  karst_status RunScript(std::string_view script, int* result = nullptr) {
    WriteWhole("s.pro", CrLf(script));
    return karst_run_script(handle_, "s.pro", 5, result);
  }
  // What the filter makes of the record, or the error with its line.
  std::string Filter(std::string_view record) {
    const char* text = nullptr;
    size_t length = 0;
    const karst_status status = karst_filter_record(handle_, record.data(), record.size(), &text, &length);
    if (status == KARST_OK) return {text, length};
    return std::to_string(status) + " " + std::to_string(karst_error_line(handle_)) + " " + ErrorText();
  }
  std::string ErrorText() { return karst_error_text(handle_, nullptr); }

  std::string messages;
  std::string output;

 private:
  karst_engine* handle_;
};

class CInterface : public ::testing::Test {
 protected:
  const TempFolder folder_;
  Engine engine;
  int result = 7;
};

TEST_F(CInterface, FiltersRecordAfterRecord) {
  const std::string good = Record({"200  $agood"}), bad = Record({"999  $abad"});
  EXPECT_EQ(engine.Filter(good), "-7 0 no filter");
  ASSERT_EQ(engine.Load("Record {\nField \"200\" {\nsoutput = kept + _FIELD\nkept = \"b\"\n}\n"
                        "Field \"999\" {\nstring soutput = \"x\"\nnone = 1\n}\n}\n"),
            KARST_OK);
  EXPECT_EQ(karst_set_variable(engine, "kept", 4, "a", 1), KARST_OK);
  std::string expected = Marked("a$agood");
  for (int i = 0; i < 2000; ++i) {
    ASSERT_EQ(engine.Filter(good), expected);
    expected[0] = 'b';
    ASSERT_TRUE(engine.Filter(bad).starts_with("-3 8 ")) << engine.Filter(bad);
    ASSERT_EQ(engine.Filter(Record({"001x"})), "");
  }
  const char* value = nullptr;
  size_t length = 0;
  EXPECT_EQ(karst_get_variable(engine, "kept", 4, &value, &length), KARST_OK);
  EXPECT_EQ(std::string(value, length), "b");
  EXPECT_EQ(karst_get_variable(engine, "none", 4, &value, &length), KARST_ERROR_ARGUMENT);
  EXPECT_EQ(engine.Filter(std::string_view("a\0b", 3)), "-5 0 a NUL in a record");
  EXPECT_EQ(engine.Load("Record {\nChain \"none\"\n}\n"), KARST_ERROR_SCRIPT);
  EXPECT_EQ(karst_error_line(engine), 4);
  EXPECT_EQ(engine.Filter(good), "-7 0 no filter");
}

// What is written in pieces comes out in whole characters.
TEST_F(CInterface, BringsTextsBackUnchangedInUtf8) {
  Engine utf8(KARST_UTF8);
  ASSERT_EQ(utf8.Load("soutput = _RECORD\nprintf(\"%s\", _RECORD)\nfnprintf(\"stdout\", \"%c\", 214)\n"
                      "fnprintf(\"stdout\", \"%c&#2\", 208)\nfnprintf(\"stdout\", \"41;%c\", 214)\n"),
            KARST_OK);
  const std::string text = "\xE6\xB5\x8B\xF0\x9F\x98\x80&#241;&#38;#38;#128512;";
  EXPECT_EQ(utf8.Filter(text), text);
  EXPECT_EQ(utf8.messages, text);
  EXPECT_TRUE(utf8.output.starts_with("\xE4\xB8\xAD\xC3\xB1")) << utf8.output;
  EXPECT_EQ(utf8.Filter("\xD6\xD0"), "-4 0 no UTF-8");
}

TEST_F(CInterface, RunsScripts) {
  EXPECT_EQ(engine.RunScript("printf(\"%d\", 1)\nfnprintf(\"a.txt\", \"x\")\nint n\nstop -1\n", &result), KARST_OK);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(ReadWhole("a.txt"), "x");
  EXPECT_EQ(engine.RunScript("int n\nn = none\n", &result), KARST_ERROR_SCRIPT);
  EXPECT_EQ(karst_error_line(engine), 2);
  EXPECT_TRUE(engine.messages.starts_with("1")) << engine.messages;
  EXPECT_EQ(karst_run_script(engine, "none.pro", 8, &result), KARST_ERROR_FILE);
  EXPECT_EQ(engine.ErrorText(), "cannot read 'none.pro'");
  EXPECT_EQ(karst_error_line(engine), 0);
  EXPECT_EQ(karst_run_script(engine, "s.pro", 6, &result), KARST_ERROR_ARGUMENT);
  EXPECT_EQ(result, -1);
}

// A callback that runs another engine: that one's callbacks, results and errors are its own, and this one goes on.
TEST_F(CInterface, RunsAnotherEngineFromACallback) {
  Engine inner(KARST_UTF8);
  struct Hosts {
    Engine &outer, &inner;
    std::string seen;
  } hosts{engine, inner, ""};
  karst_on_message_box(
      engine,
      [](void* user, const char* text, size_t length) {
        Hosts& self = *static_cast<Hosts*>(user);
        EXPECT_EQ(karst_run_script(self.outer, "s.pro", 5, nullptr), KARST_ERROR_BUSY);
        EXPECT_EQ(karst_run_script(self.inner, "inner.pro", 9, nullptr), KARST_ERROR_SCRIPT);
        self.seen += std::string(text, length) + std::to_string(karst_error_line(self.inner));
        return 1;
      },
      &hosts);
  karst_on_message_box(
      inner,
      [](void* user, const char* text, size_t length) {
        return static_cast<Hosts*>(user)->seen += "inner " + std::string(text, length) + " ", 1;
      },
      &hosts);
  WriteWhole("inner.pro", "MsgBox(\"in\")\r\nprintf(\"in\")\r\nfnprintf(\"no/in\", \"x\")\r\nx = 1\r\n");
  EXPECT_EQ(engine.RunScript("MsgBox(\"a\")\nMsgBox(\"b\")\nprintf(\"out\")\nfnprintf(\"stdout\", \"out\")\n", &result),
            KARST_OK)
      << engine.ErrorText();
  EXPECT_EQ(hosts.seen, "inner in a4inner in b4");
  EXPECT_EQ(engine.messages + engine.output, "outout");
  EXPECT_TRUE(inner.messages.starts_with("in")) << inner.messages;
  EXPECT_EQ(result, 0);
}

struct FileRun {
  karst_engine* engine;
  uint64_t stop_at;
  std::string seen;
};

TEST_F(CInterface, RunsOverFilesAndAccountsForThem) {
  const std::string record = Record({"200  $ax"});
  WriteWhole("r.mrc", record + "no record\x1d" + record + record);
  for (const char* filter : {"Record {\nprintf(\"%d \", _RECORDCOUNT)\n}\n", "printf(\"%d \", _RECORDCOUNT)\n"}) {
    Engine utf8(KARST_UTF8);
    FileRun run{utf8, UINT64_MAX, ""};
    karst_on_progress(
        utf8,
        [](void* user, uint64_t position, uint64_t size, uint64_t given) {
          auto& self = *static_cast<FileRun*>(user);
          self.seen += std::to_string(given) + (position == size ? "! " : " ");
          karst_engine_free(self.engine);  // not while it runs
          return given == self.stop_at ? 1 : 0;
        },
        &run);
    karst_on_skipped(
        utf8,
        [](void* user, uint64_t offset, const char* bytes, size_t length, const char* reason, size_t) {
          static_cast<FileRun*>(user)->seen +=
              "<" + std::to_string(offset) + std::string(bytes, length) + reason + "> ";
        },
        &run);
    EXPECT_EQ(karst_filter_file(utf8, "none", 4), KARST_ERROR_NO_FILTER);
    ASSERT_EQ(utf8.Load(filter), KARST_OK);
    EXPECT_EQ(karst_filter_file(utf8, "none", 4), KARST_ERROR_FILE);
    EXPECT_EQ(karst_filter_file(utf8, "r.mrc", 5), KARST_OK);
    EXPECT_EQ(utf8.messages, "0 1 2 ");
    EXPECT_EQ(run.seen, "0 1 <" + std::to_string(record.size()) +
                            "no record\x1d\xE4\xB8\x8D\xE6\x98\xAF\xE8\xAE\xB0\xE5\xBD\x95> 1 2 3! ");
    run.stop_at = 2;
    EXPECT_EQ(karst_filter_file(utf8, "r.mrc", 5), KARST_STOPPED);
    EXPECT_EQ(utf8.messages, "0 1 2 0 1 ");
  }
}

// Also where the script looks at its -1, and where only the closing could show it.
TEST_F(CInterface, NamesAFileThatWasNotWrittenWhole) {
  Engine utf8(KARST_UTF8);
  const char kScript[] =
      "if fnprintf(\"no/\xD6\xD0\", \"x\") == -1\nFnCat(\"/dev/full\", \"y\")\nprintf(\"went on\")\n";
  EXPECT_EQ(utf8.RunScript(kScript, &result), KARST_ERROR_FILE);
  EXPECT_EQ(utf8.ErrorText(), "cannot write 'no/\xE4\xB8\xAD': No such file or directory (and 1 more)");
  EXPECT_EQ(utf8.messages, "went on");
  EXPECT_EQ(result, 7);
  ASSERT_EQ(utf8.Load("Record {\nsoutput = _RECORD\nfnprintf(HyperFn, _RECORD)\n}\n"), KARST_OK);
  karst_set_variable(utf8, "HyperFn", 7, "/dev/full", 9);
  const std::string record = Record({"001x"});
  EXPECT_EQ(utf8.Filter(record), "-2 0 cannot write '/dev/full': No space left on device");
  karst_set_variable(utf8, "HyperFn", 7, "good", 4);
  EXPECT_EQ(utf8.Filter(record), record);
}

TEST_F(CInterface, StopsARunFromAnotherThread) {
  std::atomic<bool> over = false;
  std::thread stopper([&] {
    while (!over) karst_stop(engine);
  });
  EXPECT_EQ(engine.RunScript("loop 1 {\n}\nendloop\n"), KARST_STOPPED);
  EXPECT_EQ(engine.RunScript(":a\ngoto a\n"), KARST_STOPPED);
  over = true;
  stopper.join();
  EXPECT_EQ(engine.RunScript("int n\n"), KARST_OK);
  // From a callback: the request comes at the end of a loop that has run often enough to be remembered.
  FileRun run{engine, 0, ""};
  const auto stop_at_fifth = [](void* user, const char* text, size_t length) {
    auto& self = *static_cast<FileRun*>(user);
    if (self.seen.append(text, length).size() == 5) karst_stop(self.engine);
  };
  karst_on_message(engine, stop_at_fifth, &run);
  EXPECT_EQ(engine.RunScript("loop 1\nprintf(\"x\")\nendloop\n"), KARST_STOPPED);
  EXPECT_EQ(run.seen, "xxxxx");
}

TEST_F(CInterface, ConvertsRecordsWithinTheRoomGiven) {
  const std::string record = Record({"001abc", "-01x", "200  $at"});
  std::string iso(200, 0), back(200, 0);
  size_t length = 0, needed = 0;
  EXPECT_EQ(karst_to_iso2709(record.data(), record.size(), nullptr, 0, &length), KARST_ERROR_ROOM);
  EXPECT_EQ(karst_to_iso2709(record.data(), record.size(), iso.data(), length - 1, nullptr), KARST_ERROR_ROOM);
  EXPECT_EQ(iso, std::string(200, 0));
  ASSERT_EQ(karst_to_iso2709(record.data(), record.size(), iso.data(), length, nullptr), KARST_OK);
  ASSERT_EQ(karst_from_iso2709(iso.data(), length, back.data(), back.size(), &needed), KARST_OK);
  EXPECT_EQ(back.substr(24, needed - 24), Record({"001abc", "200  $at"}).substr(24));
  EXPECT_EQ(karst_from_iso2709(iso.data(), length - 1, back.data(), back.size(), &needed), KARST_ERROR_RECORD);
  EXPECT_EQ(karst_from_iso2709(nullptr, 0, back.data(), back.size(), &needed), KARST_ERROR_RECORD);
  for (const std::string& bad : {record.substr(0, record.size() - 1), Record({std::string_view("001a\0c", 6)})}) {
    EXPECT_EQ(karst_to_iso2709(bad.data(), bad.size(), back.data(), back.size(), &needed), KARST_ERROR_RECORD);
    EXPECT_EQ(needed, 0u);
  }
}

TEST_F(CInterface, RefusesBadHandlesAndPointers) {
  EXPECT_EQ(karst_engine_new(static_cast<karst_encoding>(2)), nullptr);
  EXPECT_EQ(karst_reader_new(static_cast<karst_encoding>(-1)), nullptr);
  EXPECT_EQ(karst_filter_record(nullptr, "x", 1, nullptr, nullptr), KARST_ERROR_ARGUMENT);
  EXPECT_EQ(karst_reader_next(nullptr), KARST_ERROR_ARGUMENT);
  EXPECT_STREQ(karst_error_text(nullptr, nullptr), "");
  karst_stop(nullptr);
  karst_engine_free(nullptr);
  for (const size_t length : {0u, 3u}) EXPECT_EQ(karst_load_filter(engine, nullptr, length), KARST_ERROR_ARGUMENT);
  EXPECT_EQ(karst_set_variable(engine, "", 0, "x", 1), KARST_ERROR_ARGUMENT);
  EXPECT_EQ(karst_set_variable(engine, "n", 1, "x\0y", 3), KARST_ERROR_ARGUMENT);
  EXPECT_EQ(engine.ErrorText(), "a NUL in a variable's value");
}

}  // namespace
}  // namespace karst::testing
