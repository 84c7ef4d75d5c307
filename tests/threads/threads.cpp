// Objects on eight threads at once: each gives what it gives alone. Built with the thread sanitizer, this also finds
// whatever they share.
#include <gtest/gtest.h>
#include <karst/karst.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

#include "marc/marcfilter.h"
#include "marc/marcflt.h"
#include "support/filter_bench.h"
#include "support/places.h"
#include "support/temp_folder.h"

namespace karst::testing {
namespace {

constexpr int kThreads = 8;

// What `work` gives alone, and what it gives on each of the threads.
void ExpectTheSameEverywhere(const std::function<std::string(int)>& work) {
  std::vector<std::string> given(kThreads);
  std::vector<std::thread> threads;
  std::atomic<int> waiting = kThreads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      for (--waiting; waiting > 0;) std::this_thread::yield();
      given[static_cast<size_t>(i)] = work(i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::string alone = work(kThreads);
  EXPECT_FALSE(alone.empty());
  for (const std::string& text : given) EXPECT_EQ(text, alone);
}

// Everything that a run of one of the example filters writes.
std::string RunExample(const char* name) {
  FilterBench bench;
  std::string written;
  bench.tree.OnNamedOutput([&written](const NamedText& text) {
    written += std::string(text.file) + ":" + std::string(text.bytes);
    return static_cast<int32_t>(text.bytes.size());
  });
  const std::string filter = SourcePath("examples/" + std::string(name)), records = SourcePath("examples/books.iso");
  EXPECT_NE(bench.tree.ReadCodeFromFile(filter.c_str(), 0), -1) << name;
  EXPECT_EQ(bench.tree.BuildMARCTree(), 0) << name;
  EXPECT_EQ(bench.tree.RunWholeTree(records.c_str()), 0) << name;
  return bench.Output() + written;
}

TEST(Threads, RunWholeFiltersOverAFile) {
  ExpectTheSameEverywhere([](int) {
    std::string written;
    for (const char* name : {"cleanup.flt", "duplicates.flt", "first.flt", "newbooks.flt", "statistics.flt",
                             "titles.flt", "validate.flt"}) {
      written += RunExample(name);
    }
    return written;
  });
}

constexpr std::string_view kFilter =
    "int n\r\nstring s\r\nRecord {\r\nField \"200\" {\r\nsoutput = _FIELD\r\nsoutput << \"\xD6\xD0\"\r\n}\r\n"
    "Field \"300\" {\r\nbmprintf(HyperFn, \"big5\", \"%s\", _FIELD)\r\nbmprintf(HyperFn, \"utf-8\", \"%s\", "
    "_FIELD)\r\n}\r\n"
    "Field \"999\" {\r\nMsgBox(\"box\")\r\nn = 1 / n\r\n}\r\n}\r\n"
    "Final {\r\nn = DBCreate(1)\r\nDBWrite(n, \"k\", 0, 1)\r\nDBDestroy(n)\r\n}\r\n";

const std::string kRecords[] = {Record({"200  $aone"}), Record({"300  $a\xD6\xD0\xCE\xC4"}), Record({"999  $abad"})};

TEST(Threads, FilterRecordAfterRecord) {
  const TempFolder folder;
  std::ofstream("f.flt", std::ios::binary) << kFilter;
  std::atomic<int> boxes = 0;
  SetMessageBoxHandler([&boxes](HWND, const char*, const char*, unsigned) { return ++boxes, 1; });
  ExpectTheSameEverywhere([](int thread) {
    const std::string file = "out" + std::to_string(thread);
    CMARCFilter filter;
    CMARCFLT flt;
    CString error, output;
    std::string given;
    EXPECT_EQ(filter.LoadFilterFile("f.flt", error, 0), 0) << error;
    EXPECT_EQ(flt.Initial("f.flt"), 0);
    filter.SafeSetVar("HyperFn", file.c_str());
    flt.m_pTree->SafeSetVar("HyperFn", file.c_str());
    for (int i = 0; i < 60; ++i) {
      const CString record(kRecords[i % 3]);
      filter.SafeSetVar("soutput", "");
      given += filter.FilterOneRecord(record, error) == 0 ? "+" : error.c_str();
      given += flt.Run(record, output) == 0 ? output.c_str() : "-";
      filter.CloseAfterError();
    }
    filter.CloseAllCatchedFileHandle();
    flt.m_pTree->CloseAllCatchedFileHandle();
    std::ifstream written(file, std::ios::binary);
    return given.append(std::istreambuf_iterator<char>(written), {});
  });
  SetMessageBoxHandler({});
  EXPECT_EQ(boxes, 9 * (20 + 60));
}

void Collect(void* user, const char* text, size_t length) { static_cast<std::string*>(user)->append(text, length); }

TEST(Threads, UseTheCInterface) {
  const TempFolder folder;
  std::ofstream("f.flt", std::ios::binary) << kFilter;
  std::ofstream("r.mrc", std::ios::binary) << kRecords[0] << "junk\x1d" << kRecords[1];
  ExpectTheSameEverywhere([](int thread) {
    const std::string file = "out" + std::to_string(thread);
    karst_engine* engine = karst_engine_new(KARST_UTF8);
    karst_reader* reader = karst_reader_new(KARST_UTF8);
    std::string given;
    karst_on_message(engine, Collect, &given);
    karst_on_message_box(
        engine, [](void* user, const char* text, size_t length) { return Collect(user, text, length), 1; }, &given);
    EXPECT_EQ(karst_load_filter(engine, "f.flt", 5), KARST_OK);
    EXPECT_EQ(karst_set_variable(engine, "HyperFn", 7, file.data(), file.size()), KARST_OK);
    for (int i = 0; i < 30; ++i) {
      EXPECT_EQ(karst_reader_open(reader, "r.mrc", 5), KARST_OK);
      while (karst_reader_next(reader) != KARST_END) {
        size_t length = 0;
        const char* record = karst_reader_text(reader, &length);
        const char* output = nullptr;
        karst_filter_record(engine, length ? record : kRecords[2].data(), length ? length : kRecords[2].size(), &output,
                            &length);
        given += std::string(output, length) + karst_error_text(engine, nullptr);
      }
    }
    EXPECT_EQ(karst_filter_file(engine, "r.mrc", 5), KARST_OK);
    karst_reader_free(reader);
    karst_engine_free(engine);
    return given;
  });
}

TEST(Threads, StopRunsOfOthers) {
  const TempFolder folder;
  std::ofstream("s.pro", std::ios::binary) << ":a\r\ngoto a\r\n";
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads / 2; ++i) {
    threads.emplace_back([] {
      karst_engine* engine = karst_engine_new(KARST_GBK);
      std::atomic<bool> over = false;
      std::thread stopper([&] {
        while (!over) karst_stop(engine);
      });
      for (int run = 0; run < 20; ++run) EXPECT_EQ(karst_run_script(engine, "s.pro", 5, nullptr), KARST_STOPPED);
      over = true;
      stopper.join();
      karst_engine_free(engine);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace karst::testing
