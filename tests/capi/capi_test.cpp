// What a host in C sees where several come together: engines, threads, pieces of texts and files. The rest of the
// interface is held by the tests of the Python module and by fuzz/capi_fuzz.cpp.
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
  const auto stop_at_fifth = [](void* user, const char* text, size_t length) {
    auto& self = *static_cast<Engine*>(user);
    if (self.messages.append(text, length).size() == 5) karst_stop(self);
  };
  karst_on_message(engine, stop_at_fifth, &engine);
  EXPECT_EQ(engine.RunScript("loop 1\nprintf(\"x\")\nendloop\n"), KARST_STOPPED);
  EXPECT_EQ(engine.messages, "xxxxx");
}

}  // namespace
}  // namespace karst::testing
