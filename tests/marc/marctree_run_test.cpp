// Whole runs: streams and their results, the progress hook, stop requests, the record file, the entry point.
#include <gtest/gtest.h>

#include "marc/marctree.h"
#include "support/fake_stream.h"
#include "support/filter_bench.h"
#include "support/readable.h"
#include "support/temp_folder.h"
#include "support/whole_files.h"

namespace karst::testing {
namespace {

constexpr std::string_view kCounting = "Record {\nprintf(\"%d \", _RECORDCOUNT)\n}\nFinal {\nprintf(\"end\")\n}\n";
constexpr std::string_view kOldCounting = "printf(\"%d \", _RECORDCOUNT)\n";
const std::string kRecord = Record({"200  x"});

TEST(RunMARCTree, TakesEachResultOfAStream) {
  for (const auto& [filter, output] : {std::pair(kCounting, "0 1 end"), std::pair(kOldCounting, "0 1 ")}) {
    FilterBench bench(filter);
    FakeStream stream;
    stream.steps = {{2, ""}, {0, kRecord}, {2, ""}, {2, ""}, {0, kRecord}, {-1, ""}, {0, kRecord}};
    EXPECT_EQ(bench.tree.RunMARCTree(&stream), 0);
    EXPECT_TRUE(bench.tree.ReadFailed());
    EXPECT_EQ(bench.Output(), output);
    EXPECT_EQ(stream.calls, 6);
    EXPECT_EQ(bench.tree.m_nRecordCount, 2);
    EXPECT_EQ(bench.tree.RunMARCTree(nullptr), -1);
  }
  FilterBench none;
  FakeStream stream;
  EXPECT_EQ(none.tree.RunMARCTree(&stream), -1);
  EXPECT_EQ(none.tree.RunWholeTreeOldStyle("x"), -1);
  const std::string message = "\r\nMARC树尚未建立!(m_pheadcell == NULL...)";
  EXPECT_EQ(none.Output(), message + message);
}

TEST(RunMARCTree, DropsWhatTheRunDeclaredAndKeepsWhatStoodBefore) {
  FilterBench bench("int n = 3\nRecord {\nkept = kept + n\n}\n");
  bench.tree.CreateNewVar("kept", 0);
  for (int run = 1; run <= 2; ++run) {
    FakeStream stream({kRecord, kRecord});
    EXPECT_EQ(bench.tree.RunMARCTree(&stream), 0);
    EXPECT_EQ(bench.tree.m_Cells.size(), 1u);
    EXPECT_EQ(bench.tree.SearchVar("kept")->lVal, run * 6);
  }
}

struct Progress {
  CMARCTree& tree;
  int stop_at;
  std::string seen = {};
};

TEST(ProgressHook, IsCalledBeforeEachRecordAndMayStopTheRun) {
  FilterBench bench(kCounting);
  Progress progress{bench.tree, 5};
  bench.tree.m_pProgressArg = &progress;
  bench.tree.m_pfnProgress = [](void* argument) {
    auto& self = *static_cast<Progress*>(argument);
    self.seen += std::to_string(self.tree.m_nStreamPos) + " ";
    if (--self.stop_at == 0) self.tree.Stop();
    return -1;
  };
  for (const char* output : {"0 1 end", "0 1 end0 ", "0 1 end0 0 1 end"}) {  // the next run withdraws the request
    FakeStream stream({kRecord, kRecord});
    EXPECT_EQ(bench.tree.RunMARCTree(&stream), 0);
    EXPECT_EQ(bench.Output(), output);
    EXPECT_EQ(bench.tree.IsStop(), progress.stop_at == 0);
  }
  EXPECT_EQ(progress.seen, "0 100 200 0 100 0 100 200 ");
}

// A filter in which every "@" is a statement that writes one byte, and so a moment at which a stop may come.
std::string WithMoments(std::string_view text) {
  std::string filter;
  char shown = '0';
  for (char byte : text) {
    filter += byte == '@' ? "fnprintf(\"moments\", \"" + std::string(1, shown++) + "\")\n" : std::string(1, byte);
  }
  return filter;
}

constexpr std::string_view kEveryLevel[] = {
    "{ @@ }\nRecord {\n@{\n@}\nField \"hdr\" {\n@}\n"
    "Field \"2**\" {\nint n\n@SubField \"a\" {\n{\n@@}\n}\nSubField \"*\" {\n@}\n@}\nField \"200\" {\n@}\n"
    "Field \"461\" {\n@Field \"200\" {\n@SubField \"*\" {\n@}\n@}\n@}\n"
    "Field \"7**\" {\n@Group {\n@SubField \"a\" {\n@}\n@}\n@}\n"
    "Field \"3**\" {\n@Chain \"x\"\nChain \"y\"\nChain \"z\"\nChain \"z\"\nChain \"z\"\nChain \"z\"\nChain "
    "\"z\"\nChain \"z\"\nChain \"z\"\nChain \"z\"\n@}\n@}\nRecord {\n@}\nFinal {\n@@}\n"
    "Common \"x\" {\n@SubField \"a\" {\n@}\n@}\nCommon \"y\" {\n@Chain \"x\"\n@}\nCommon \"z\" {\nSubField \"*\" "
    "{\n}\n}\n",
    "int n\n@{\n@}\nField \"2**\" {\n@SubField \"a\" {\n@}\n@}\n{\n@@}\n",
};

// What a run writes in which a stop comes at one moment; a step of the source of records is one too.
std::string RunStoppedAt(FilterBench& bench, int moment) {
  std::string written;
  const auto pass = [&](std::string_view shown) {
    written += shown;
    if (--moment == 0) bench.tree.Stop();
  };
  bench.tree.OnNamedOutput([&](const NamedText& text) {
    pass(text.bytes);
    return static_cast<int32_t>(text.bytes.size());
  });
  const std::string record = Record({"200  $aA$bB$aC", "201  $aD", "330  $aE", "461  $1200  $aF", "701  $aG$bH$aI"});
  FakeStream stream({record, record});
  stream.on_next = [&] { pass("."); };
  EXPECT_EQ(bench.tree.RunMARCTree(&stream), 0);
  return written;
}

TEST(StopRequest, EndsTheRunAtOnceWhereverItIsAndLeavesItInOrder) {
  for (std::string_view text : kEveryLevel) {
    FilterBench bench(WithMoments(text));
    const std::string whole = RunStoppedAt(bench, 0);
    for (int moment = 1; moment <= static_cast<int>(whole.size()); ++moment) {
      ASSERT_EQ(RunStoppedAt(bench, moment), whole.substr(0, static_cast<size_t>(moment)));
      ASSERT_TRUE(bench.tree.IsStop());
      ASSERT_EQ(bench.tree.m_nBeginCount, 0) << moment;
      ASSERT_EQ(bench.tree.m_Cells.size(), 0u) << moment;
    }
    EXPECT_EQ(RunStoppedAt(bench, 0), whole);
  }
}

TEST(StopRequest, IsNotWithdrawnWhileItIsHeld) {
  FilterBench bench(kCounting);
  const CRunable::StopsHeld held(bench.tree);
  bench.tree.Stop();
  FakeStream stream({kRecord});
  EXPECT_EQ(bench.tree.RunMARCTree(&stream), 0);
  EXPECT_EQ(bench.Output(), "");
  // Half a tree would run the rest of its filter.
  EXPECT_EQ(bench.Build(kCounting), 0);
  EXPECT_EQ(bench.tree.m_pheadcell, nullptr);
}

TEST(RunWholeTree, KeepsTheCountersOfItsFile) {
  const TempFolder folder;
  WriteWhole("r.mrc", kRecord + "no record\x1d" + kRecord);
  FilterBench bench(kCounting);
  int skipped = 0;
  bench.tree.OnSkippedRecord([&](const SkippedRecord& record) { skipped += static_cast<int>(record.bytes.size()); });
  EXPECT_EQ(bench.tree.RunWholeTree("r.mrc"), 0);
  ASSERT_NE(bench.tree.RecordFile(), nullptr);
  EXPECT_EQ(bench.tree.RecordFile()->RecordCount(), 2u);
  EXPECT_EQ(bench.tree.RecordFile()->SkippedBytes(), 10u);
  EXPECT_EQ(skipped, 10);
  for (const unsigned size : {bench.tree.m_nStreamSize, bench.tree.m_nStreamPos}) EXPECT_EQ(size, 32u * 2 + 10);
  for (const char* missing : {"missing.mrc", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(bench.tree.RunWholeTree(missing), -1);
    EXPECT_EQ(bench.tree.RecordFile(), nullptr);
  }
  EXPECT_EQ(bench.Output(), "0 1 end");
  // An error that ends the run closes it too.
  const auto open_files = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
  for (const char* filter : {"Record {\nnothing = 1\n}\n", "nothing = 1\n"}) {
    FilterBench failing(filter);
    const auto open = open_files();
    EXPECT_THROW(failing.tree.RunWholeTree("r.mrc"), CError);
    EXPECT_EQ(open_files(), open);
    EXPECT_EQ(failing.tree.RecordFile()->RecordCount(), 1u);
  }
}

TEST(RunKarstMARCTree, TellsOnTheHostsOutputWhatFailed) {
  const TempFolder folder;
  WriteWhole("r.mrc", kRecord);
  const struct {
    const char* filter;
    const char* records;
    int result;
    const char* output;
  } cases[] = {
      {"Record {\nprintf(\"ok\")\n}\n", "r.mrc", 0, "ok"},
      {"Record {\n\nx = 1\n}\n", "r.mrc", -1, "\n第3行:  变量x没找到..."},
      {"Record {\n", "r.mrc", -1, "\n第2行: 花括号{}不配对, { 多于 } !"},
      {"Record {\n}\n", "missing.mrc", -1, ""},
      {"Record {\n}\nFinal {\nprintf(\"end\")\n}\n", "/proc/self/mem", -1,
       "end\n文件'/proc/self/mem'读取失败, 只读到0条记录..."},
      {"\n", "missing.mrc", -1, "\n第2行: 文件'missing.mrc'打开失败..."},
  };
  for (const auto& each : cases) {
    WriteWhole("f.flt", CrLf(each.filter));
    FilterBench bench;
    EXPECT_EQ(RunKarstMARCTree("f.flt", each.records, bench.tree.hWnd), each.result);
    const std::string output = bench.Output(), expected = CrLf(each.output);
    EXPECT_EQ(output.empty(), expected.empty());
    EXPECT_TRUE(output.ends_with(expected)) << output;  // an error comes after the variables
    EXPECT_EQ(RunKarstMARCTree("f.flt", each.records, nullptr), each.result);
  }
  FilterBench bench;
  EXPECT_EQ(RunKarstMARCTree("missing.flt", "r.mrc", bench.tree.hWnd), -1);
  EXPECT_TRUE(bench.Output().ends_with("文件[missing.flt]打开错误")) << bench.Output();
}

}  // namespace
}  // namespace karst::testing
