// The C interface as a host uses it: results, texts in both encodings, failures and what stands after them, callbacks.
#include <gtest/gtest.h>
#include <karst/karst.h>

#include <atomic>
#include <fstream>
#include <memory>
#include <thread>
#include <vector>

#include "support/filter_bench.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

void WriteLines(const char* name, std::string_view text) {
  std::ofstream file(name, std::ios::binary);
  for (char byte : text) file << (byte == '\n' ? "\r\n" : std::string(1, byte));
}

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
    WriteLines("f.flt", filter);
    return karst_load_filter(handle_, "f.flt", 5);
  }
  karst_status RunScript(std::string_view script, int* result) {
    WriteLines("s.pro", script);
    return karst_run_script(handle_, "s.pro", 5, result);
  }
  karst_status RunOver(std::string_view records) {
    std::ofstream("r.mrc", std::ios::binary) << records;
    return karst_filter_file(handle_, "r.mrc", 5);
  }
  // What the filter makes of the record, or the error with its line.
  std::string Filter(std::string_view record) {
    const char* text = nullptr;
    size_t length = 0;
    const karst_status status = karst_filter_record(handle_, record.data(), record.size(), &text, &length);
    if (status == KARST_OK) return {text, length};
    return std::to_string(status) + " " + std::to_string(karst_error_line(handle_)) + " " +
           karst_error_text(handle_, nullptr);
  }

  std::string messages;
  std::string output;

 private:
  karst_engine* handle_;
};

TEST(CInterface, FiltersRecordAfterRecord) {
  const TempFolder folder;
  Engine engine;
  const std::string good = Record({"200  $agood"}), bad = Record({"999  $abad"});
  EXPECT_EQ(engine.Filter(good), "-7 0 no filter");
  ASSERT_EQ(engine.Load("Record {\nField \"200\" {\nsoutput = kept + _FIELD\nkept = \"b\"\n}\n"
                        "Field \"999\" {\nstring soutput = \"x\"\nnone = 1\n}\n}\n"),
            KARST_OK);
  EXPECT_EQ(karst_set_variable(engine, "kept", 4, "a", 1), KARST_OK);
  std::string expected =
      "a\x1f"
      "agood";
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

TEST(CInterface, BringsTextsBackUnchangedInUtf8) {
  const TempFolder folder;
  Engine engine(KARST_UTF8);
  ASSERT_EQ(engine.Load("soutput = _RECORD\nprintf(\"%s\", _RECORD)\nfnprintf(\"stdout\", \"%s\", _RECORD)\n"),
            KARST_OK);
  // The last of them would be a reference, but for its escapes.
  for (const char* text : {"\xE6\xB5\x8B\xE8\xAF\x95", "\xF0\x9F\x98\x80",
                           "Mu\xC3\xB1oz & Pe\xC3\xB1"
                           "a",
                           "&#241;", "&#65;", "&#38;#241;&#241", "\xF4\x8F\x9F\xBF", "&#38;#38;#128512;"}) {
    engine.messages.clear();
    engine.output.clear();
    EXPECT_EQ(engine.Filter(text), text);
    EXPECT_EQ(engine.messages, text);
    EXPECT_EQ(engine.output, text);
  }
  EXPECT_EQ(engine.Filter("\xD6\xD0"), "-4 0 no UTF-8");
  // What is written in pieces comes out in whole characters.
  ASSERT_EQ(engine.RunScript("fnprintf(\"stdout\", \"%c\", 214)\nfnprintf(\"stdout\", \"%c&#2\", 208)\n"
                             "fnprintf(\"stdout\", \"41;%c\", 214)\n",
                             nullptr),
            KARST_OK);
  EXPECT_TRUE(engine.output.ends_with("\xE4\xB8\xAD\xC3\xB1\xF4\x8F\x9F\x96")) << engine.output;
}

TEST(CInterface, RunsScripts) {
  const TempFolder folder;
  Engine engine;
  int result = 7;
  EXPECT_EQ(engine.RunScript("printf(\"%d\", 1)\nfnprintf(\"a.txt\", \"x\")\nint n\nstop -1\n", &result), KARST_OK);
  EXPECT_EQ(result, -1);
  EXPECT_EQ(std::ifstream("a.txt").get(), 'x');
  EXPECT_EQ(engine.RunScript("int n\nn = none\n", &result), KARST_ERROR_SCRIPT);
  EXPECT_EQ(karst_error_line(engine), 2);
  EXPECT_TRUE(engine.messages.starts_with("1")) << engine.messages;
  EXPECT_EQ(karst_run_script(engine, "none.pro", 8, &result), KARST_ERROR_FILE);
  EXPECT_STREQ(karst_error_text(engine, nullptr), "cannot read 'none.pro'");
  EXPECT_EQ(karst_error_line(engine), 0);
  EXPECT_EQ(karst_run_script(engine, "s.pro", 6, &result), KARST_ERROR_ARGUMENT);
  EXPECT_EQ(result, -1);

  std::string boxes;
  karst_on_message_box(
      engine, [](void* user, const char* text, size_t length) { return Collect(user, text, length), 1; }, &boxes);
  EXPECT_EQ(engine.RunScript("string s = \"x\"\nMsgBox(s)\n", nullptr), KARST_OK) << karst_error_text(engine, nullptr);
  EXPECT_EQ(boxes, "x");
}

struct FileRun {
  karst_engine* engine;
  uint64_t stop_at;
  std::string seen;
};

TEST(CInterface, RunsOverFilesAndAccountsForThem) {
  const TempFolder folder;
  const std::string record = Record({"200  $ax"});
  const std::string records = record + "no record\x1d" + record + record;
  for (const char* filter : {"Record {\nprintf(\"%d \", _RECORDCOUNT)\n}\n", "printf(\"%d \", _RECORDCOUNT)\n"}) {
    Engine engine(KARST_UTF8);
    FileRun run{engine, UINT64_MAX, ""};
    karst_on_progress(
        engine,
        [](void* user, uint64_t position, uint64_t size, uint64_t given) {
          auto& self = *static_cast<FileRun*>(user);
          self.seen += std::to_string(given) + (position == size ? "! " : " ");
          EXPECT_EQ(karst_filter_file(self.engine, "r.mrc", 5), KARST_ERROR_BUSY);
          karst_engine_free(self.engine);
          return given == self.stop_at ? 1 : 0;
        },
        &run);
    karst_on_skipped(
        engine,
        [](void* user, uint64_t offset, const char* bytes, size_t length, const char* reason, size_t) {
          auto& self = *static_cast<FileRun*>(user);
          self.seen += "<" + std::to_string(offset) + std::string(bytes, length) + reason + "> ";
        },
        &run);
    EXPECT_EQ(karst_filter_file(engine, "none", 4), KARST_ERROR_NO_FILTER);
    ASSERT_EQ(engine.Load(filter), KARST_OK);
    EXPECT_EQ(karst_filter_file(engine, "none", 4), KARST_ERROR_FILE);
    EXPECT_EQ(engine.RunOver(records), KARST_OK);
    EXPECT_EQ(engine.messages, "0 1 2 ");
    EXPECT_EQ(run.seen, "0 1 <" + std::to_string(record.size()) +
                            "no record\x1d\xE4\xB8\x8D\xE6\x98\xAF\xE8\xAE\xB0\xE5\xBD\x95> 1 2 3! ");
    run.stop_at = 2;
    engine.messages.clear();
    EXPECT_EQ(engine.RunOver(records), KARST_STOPPED);
    EXPECT_EQ(engine.messages, "0 1 ");
  }
}

// Also where the script looks at its -1, and where only the closing could show it.
TEST(CInterface, NamesAFileThatWasNotWrittenWhole) {
  const TempFolder folder;
  Engine engine(KARST_UTF8);
  int result = 7;
  const char kScript[] =
      "if fnprintf(\"no/\xD6\xD0\", \"x\") == -1\nFnCat(\"/dev/full\", \"y\")\nprintf(\"went on\")\n";
  EXPECT_EQ(engine.RunScript(kScript, &result), KARST_ERROR_FILE);
  EXPECT_STREQ(karst_error_text(engine, nullptr),
               "cannot write 'no/\xE4\xB8\xAD': No such file or directory (and 1 more)");
  EXPECT_EQ(engine.messages, "went on");
  EXPECT_EQ(result, 7);
  ASSERT_EQ(engine.Load("Record {\nsoutput = _RECORD\nfnprintf(HyperFn, _RECORD)\n}\n"), KARST_OK);
  karst_set_variable(engine, "HyperFn", 7, "/dev/full", 9);
  const std::string record = Record({"001x"});
  EXPECT_EQ(engine.Filter(record), "-2 0 cannot write '/dev/full': No space left on device");
  karst_set_variable(engine, "HyperFn", 7, "good", 4);
  EXPECT_EQ(engine.Filter(record), record);
}

TEST(CInterface, StopsARunFromAnotherThread) {
  const TempFolder folder;
  Engine engine;
  std::atomic<bool> over = false;
  std::thread stopper([&] {
    while (!over) karst_stop(engine);
  });
  EXPECT_EQ(engine.RunScript("loop 1 {\n}\nendloop\n", nullptr), KARST_STOPPED);
  EXPECT_EQ(engine.RunScript(":a\ngoto a\n", nullptr), KARST_STOPPED);
  over = true;
  stopper.join();
  EXPECT_EQ(engine.RunScript("int n\n", nullptr), KARST_OK);
}

// The request comes at the end of a loop that has run often enough to be remembered.
TEST(CInterface, StopsARunFromItsCallback) {
  const TempFolder folder;
  Engine engine;
  FileRun run{engine, 0, ""};
  const auto stop_at_fifth = [](void* user, const char* text, size_t length) {
    auto& self = *static_cast<FileRun*>(user);
    if (self.seen.append(text, length).size() == 5) karst_stop(self.engine);
  };
  karst_on_message(engine, stop_at_fifth, &run);
  EXPECT_EQ(engine.RunScript("loop 1\nprintf(\"x\")\nendloop\n", nullptr), KARST_STOPPED);
  EXPECT_EQ(run.seen, "xxxxx");
}

TEST(CInterface, ReadsARecordFileToItsLastByte) {
  const TempFolder folder;
  const std::string record = Record({"200  $a\xD6\xD0"});
  const std::string bytes = record + "junk\x1d" + record + "open end";
  std::ofstream("r.mrc", std::ios::binary) << bytes;
  for (karst_encoding encoding : {KARST_GBK, KARST_UTF8}) {
    const std::unique_ptr<karst_reader, void (*)(karst_reader*)> reader(karst_reader_new(encoding), karst_reader_free);
    EXPECT_EQ(karst_reader_next(reader.get()), KARST_ERROR_FILE);
    EXPECT_EQ(karst_reader_open(reader.get(), "none", 4), KARST_ERROR_FILE);
    EXPECT_STREQ(karst_reader_error_text(reader.get(), nullptr), "cannot read 'none'");
    ASSERT_EQ(karst_reader_open(reader.get(), "r.mrc", 5), KARST_OK);
    EXPECT_EQ(karst_reader_size(reader.get()), bytes.size());
    std::string raw, kinds;
    for (karst_status status; (status = karst_reader_next(reader.get())) != KARST_END;) {
      ASSERT_GE(status, 0);
      EXPECT_EQ(karst_reader_offset(reader.get()), raw.size());
      size_t length = 0;
      const char* piece = karst_reader_raw(reader.get(), &length);
      raw.append(piece, length);
      kinds += status == KARST_OK ? 'r' : 's';
      const std::string text = karst_reader_text(reader.get(), &length);
      EXPECT_EQ(text.size(), length);
      const std::string whole = encoding == KARST_GBK ? record : Record({"200  $a\xE4\xB8\xAD"});
      EXPECT_EQ(text, status == KARST_OK ? whole : "");
      EXPECT_EQ(*karst_reader_reason(reader.get(), &length) != 0, status == KARST_SKIPPED);
    }
    EXPECT_EQ(raw, bytes);
    EXPECT_EQ(kinds, "rsrs");
  }
}

TEST(CInterface, ConvertsRecordsWithinTheRoomGiven) {
  const std::string record = Record({"001abc", "-01x", "200  $at"});
  const std::string without_local = Record({"001abc", "200  $at"});
  std::vector<char> iso(200), back(200);
  size_t needed = 0;
  EXPECT_EQ(karst_to_iso2709(record.data(), record.size(), nullptr, 0, &needed), KARST_ERROR_ROOM);
  const size_t length = needed;
  EXPECT_EQ(karst_to_iso2709(record.data(), record.size(), iso.data(), length - 1, &needed), KARST_ERROR_ROOM);
  EXPECT_EQ(iso, std::vector<char>(200));
  ASSERT_EQ(karst_to_iso2709(record.data(), record.size(), iso.data(), length, nullptr), KARST_OK);
  ASSERT_EQ(karst_from_iso2709(iso.data(), length, back.data(), back.size(), &needed), KARST_OK);
  EXPECT_EQ(std::string(back.data(), needed).substr(24), without_local.substr(24));
  EXPECT_EQ(karst_from_iso2709(iso.data(), length - 1, back.data(), back.size(), &needed), KARST_ERROR_RECORD);
  EXPECT_EQ(karst_from_iso2709(nullptr, 0, back.data(), back.size(), &needed), KARST_ERROR_RECORD);
  EXPECT_EQ(karst_to_iso2709(record.data(), record.size() - 1, back.data(), back.size(), &needed), KARST_ERROR_RECORD);
  EXPECT_EQ(needed, 0u);
  const std::string with_nul = Record({std::string("001a\0c", 6)});
  EXPECT_EQ(karst_to_iso2709(with_nul.data(), with_nul.size(), back.data(), back.size(), &needed), KARST_ERROR_RECORD);
}

TEST(CInterface, RefusesBadHandlesAndPointers) {
  EXPECT_EQ(karst_engine_new(static_cast<karst_encoding>(2)), nullptr);
  EXPECT_EQ(karst_reader_new(static_cast<karst_encoding>(-1)), nullptr);
  EXPECT_EQ(karst_filter_record(nullptr, "x", 1, nullptr, nullptr), KARST_ERROR_ARGUMENT);
  EXPECT_EQ(karst_reader_next(nullptr), KARST_ERROR_ARGUMENT);
  EXPECT_STREQ(karst_error_text(nullptr, nullptr), "");
  karst_stop(nullptr);
  karst_engine_free(nullptr);
  Engine engine;
  EXPECT_EQ(karst_load_filter(engine, nullptr, 3), KARST_ERROR_ARGUMENT);
  EXPECT_EQ(karst_load_filter(engine, nullptr, 0), KARST_ERROR_ARGUMENT);
  EXPECT_EQ(karst_set_variable(engine, "", 0, "x", 1), KARST_ERROR_ARGUMENT);
  EXPECT_EQ(karst_set_variable(engine, "n", 1, "x\0y", 3), KARST_ERROR_ARGUMENT);
  EXPECT_STREQ(karst_error_text(engine, nullptr), "a NUL in a variable's value");
}

}  // namespace
}  // namespace karst::testing
