// Objects on eight threads at once: each gives what it gives alone. Built with the thread sanitizer, this also finds
// whatever they share.
#include <gtest/gtest.h>
#include <karst/karst.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <thread>
#include <vector>

#include "marc/marcfilter.h"
#include "marc/marcflt.h"
#include "support/filter_bench.h"
#include "support/readable.h"
#include "support/temp_folder.h"
#include "support/whole_files.h"

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

const std::string kFilter = CrLf(
    "int n\nstring s\nRecord {\nField \"200\" {\nsoutput = _FIELD\nsoutput << \"\xD6\xD0\"\n}\n"
    "Field \"300\" {\nbmprintf(HyperFn, \"big5\", \"%s\", _FIELD)\nbmprintf(HyperFn, \"utf-8\", \"%s\", _FIELD)\n}\n"
    "Field \"999\" {\nMsgBox(\"box\")\nn = 1 / n\n}\n}\nFinal {\nn = DBCreate(1)\nDBWrite(n, \"k\", 0, "
    "1)\nDBDestroy(n)\n}\n");

const std::string kRecords[] = {Record({"200  $aone"}), Record({"300  $a\xD6\xD0\xCE\xC4"}), Record({"999  $abad"})};

TEST(Threads, FilterRecordAfterRecord) {
  const TempFolder folder;
  WriteWhole("f.flt", kFilter);
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
    return given + ReadWhole(file);
  });
  SetMessageBoxHandler({});
  EXPECT_EQ(boxes, 9 * (20 + 60));
}

// The same record for ever.
class EndlessStream : public CMARCStream {
 public:
  int Open(const CString&) override { return 0; }
  int Close() override { return 0; }
  int NextRecord(CString& record) override { return record = record_, 0; }
  const char* GetCurRec() override { return record_.c_str(); }

 private:
  const CString record_ = Record({"200  $aone$btwo", "701  $aone$btwo$aone"}).c_str();
};

// One request at some moment, perhaps before the run, ends it, in order. From that moment on the loops have no end.
TEST(Threads, StopFiltersAtAnyMoment) {
  const char* const filters[] = {
      "Record {\nField \"***\" {\nSubField \"*\" {\n{\nloop fnprintf(\"x\", \"x\") == 2\nendloop\n}\n}\n}\n"
      "Field \"7**\" {\nGroup {\nSubField \"a\" {\nint n\n}\n}\nChain \"x\"\n}\n}\nCommon \"x\" {\n}\n",
      "int n\nField \"2**\" {\nSubField \"*\" {\nloop fnprintf(\"x\", \"x\") == 2\nendloop\n}\n}\n"};
  for (const char* filter : filters) {
    FilterBench bench(filter);
    EndlessStream stream;
    std::atomic<int> asked = 1;
    bench.tree.OnNamedOutput([&asked](const NamedText&) { return asked.load(); });
    for (int round = 0; round < 100; ++round) {
      const CRunable::StopsHeld held(bench.tree);
      asked = 1;
      std::thread stopper([&, round] {
        for (std::atomic<int> wait = round * 150; wait > 0;) --wait;
        asked = 2;
        bench.tree.Stop();
      });
      EXPECT_EQ(bench.tree.RunMARCTree(&stream), 0);
      stopper.join();
      ASSERT_EQ(bench.tree.m_nBeginCount, 0) << round;
      ASSERT_EQ(bench.tree.m_Cells.size(), 0u) << round;
    }
  }
}

// A single request in the midst of a file, whose last record has no end.
TEST(Threads, StopRunsOfOthers) {
  const TempFolder folder;
  WriteWhole("f.flt",
             CrLf("Record {\nField \"***\" {\nSubField \"a\" {\nloop _FIELDNAME == \"999\"\nendloop\n}\n}\n}\n"));
  WriteWhole("r.mrc", kRecords[0] + kRecords[1] + kRecords[2]);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads / 2; ++i) {
    threads.emplace_back([] {
      karst_engine* engine = karst_engine_new(KARST_GBK);
      std::atomic<bool> begun = false;
      const auto begin = [](void* user, uint64_t, uint64_t, uint64_t) {
        return static_cast<std::atomic<bool>*>(user)->store(true), 0;
      };
      karst_on_progress(engine, begin, &begun);
      for (int run = 0; run < 20; ++run) {
        begun = false;
        std::thread stopper([&] {
          while (!begun) std::this_thread::yield();
          karst_stop(engine);
        });
        EXPECT_EQ(karst_load_filter(engine, "f.flt", 5), KARST_OK);
        EXPECT_EQ(karst_filter_file(engine, "r.mrc", 5), KARST_STOPPED);
        stopper.join();
      }
      karst_engine_free(engine);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace karst::testing
