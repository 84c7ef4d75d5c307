#include "support/case_runner.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "marc/marctree.h"
#include "script/remembered.h"
#include "support/temp_folder.h"
#include "support/whole_files.h"

namespace karst::testing {
namespace {

constexpr const char* kScriptName = "case.pro";
constexpr const char* kFilterName = "case.flt";
constexpr const char* kRecordsName = "records.mrc";

// What the running case has written to "stdout"; the stream's callback has no room for an address.
std::string* stream_of_run = nullptr;

int32_t CollectStream(FileHandle, const char* bytes, int32_t count, uint32_t) {
  stream_of_run->append(bytes, static_cast<size_t>(count));
  return count;
}

// A host's output control in memory.
class OutputControl {
 public:
  OutputControl() {
    auto control = std::make_unique<MemoryTextControl>();
    control_ = control.get();
    handle_ = AddWindow(std::move(control));
  }
  ~OutputControl() { DestroyWindow(handle_); }
  OutputControl(const OutputControl&) = delete;
  OutputControl& operator=(const OutputControl&) = delete;

  HWND handle() const { return handle_; }
  std::string Text() const { return std::string(control_->Text().view()); }

 private:
  MemoryTextControl* control_;
  HWND handle_;
};

std::map<std::string, std::string> ReadFolder(const std::filesystem::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string();
    if (name != "karst.log") files[name] = ReadWhole(entry.path());
  }
  return files;
}

std::string ReadableCell(const CVarCell& cell) {
  if (cell.leixing == kFrameMark) return "{\r\n";
  std::string line = std::string(cell.name.view()) + " = ";
  if (cell.leixing == kInt) line += std::to_string(cell.lVal);
  if (cell.leixing == kInt64) line += std::to_string(cell.i64Val) + "L";
  if (cell.leixing == kText) line += "\"" + std::string(cell.string->view()) + "\"";
  return line + "\r\n";
}

void PutInputsInPlace(const Case& test_case) {
  for (const CaseText& file : test_case.files) WriteWhole(file.name, InputBytes(file));
  if (test_case.script) WriteWhole(kScriptName, InputBytes(*test_case.script));
  if (test_case.filter) WriteWhole(kFilterName, InputBytes(*test_case.filter));
  if (test_case.records) WriteWhole(kRecordsName, RecordBytes(*test_case.records));
}

std::string ListTree(CMARCTree& tree) {
  OutputControl control;
  const HWND before = std::exchange(tree.hWnd, control.handle());
  tree.DumpMARCTree();
  tree.hWnd = before;
  return control.Text();
}

// As a host's run of a filter over a file.
int RunFilter(CMARCTree& tree, bool wants_tree, std::string& listing) {
  tree.Initial();
  if (tree.ReadCodeFromFile(kFilterName, 0) == -1) return -1;
  if (tree.BuildMARCTree() == -1) return -1;
  if (wants_tree) listing = ListTree(tree);
  return tree.RunWholeTree(kRecordsName);
}

template <typename Interpreter, typename Run>
Observed Observe(Run run) {
  Observed observed;
  OutputControl control;
  Interpreter interpreter;
  interpreter.hWnd = control.handle();
  interpreter.m_hStdOut = 1;
  interpreter.m_pfnStdOutWrite = CollectStream;
  stream_of_run = &observed.stream;
  try {
    observed.result = run(interpreter, observed);
  } catch (const CError& error) {
    interpreter.eprintf("\r\n第%d行: %s", interpreter.LineOf(error), error.what());
    observed.result = -1;
  }
  stream_of_run = nullptr;
  interpreter.CloseAllCatchedFileHandle();
  observed.output = control.Text();
  observed.code.assign(interpreter.lpCodeBuffer ? interpreter.lpCodeBuffer : "",
                       static_cast<size_t>(interpreter.nCodeLen));
  for (const CVarCell* cell : interpreter.m_Cells) observed.variables += ReadableCell(*cell);
  return observed;
}

void ExpectText(const std::string& actual, const CaseText& expected, const std::string& what) {
  if (expected.raw) {
    EXPECT_EQ(Shown(actual), Shown(InputBytes(expected))) << what;
    EXPECT_TRUE(actual == InputBytes(expected)) << what << ": the bytes differ";
  } else {
    EXPECT_EQ(WithoutLastLineEnds(Shown(actual)), WithoutLastLineEnds(expected.text)) << what;
  }
}

// Takes the message that ended the run off the output, where one is expected.
void ExpectOutput(const Case& test_case, const Observed& observed) {
  std::string output = observed.output;
  if (!test_case.error.empty()) {
    const size_t line = output.rfind("\r\n第");
    ASSERT_NE(line, std::string::npos) << "no message; the output is:\n" << Shown(output);
    EXPECT_EQ(Shown(output.substr(line + 2)), test_case.error) << "message";
    output.resize(line);
  }
  ExpectText(output, test_case.output, "output");
}

void ExpectFiles(const Case& test_case, const Observed& observed) {
  for (const CaseText& expected : test_case.expected_files) {
    const auto found = observed.files.find(expected.name);
    ASSERT_TRUE(found != observed.files.end()) << "no file " << expected.name;
    ExpectText(found->second, expected, expected.name);
  }
}

void ExpectAll(const Case& test_case, const Observed& observed) {
  ExpectOutput(test_case, observed);
  ExpectText(observed.stream, test_case.stream, "stdout");
  EXPECT_EQ(observed.result, test_case.result.value_or(test_case.error.empty() ? 0 : -1)) << "result";
  if (test_case.tree) ExpectText(observed.tree, *test_case.tree, "tree");
  if (test_case.variables) ExpectText(observed.variables, *test_case.variables, "variables");
  ExpectFiles(test_case, observed);
}

// Files are compared in full, but told apart by name: a dump may be large.
void ExpectAgreement(const Observed& remembered, const Observed& plain) {
  EXPECT_EQ(remembered.result, plain.result);
  EXPECT_EQ(Shown(remembered.output), Shown(plain.output));
  EXPECT_EQ(Shown(remembered.stream), Shown(plain.stream));
  EXPECT_EQ(Shown(remembered.tree), Shown(plain.tree));
  EXPECT_EQ(Shown(remembered.code), Shown(plain.code));
  EXPECT_EQ(Shown(remembered.variables), Shown(plain.variables));
  EXPECT_EQ(remembered.files.size(), plain.files.size());
  for (const auto& [name, bytes] : plain.files) {
    const auto found = remembered.files.find(name);
    EXPECT_TRUE(found != remembered.files.end() && found->second == bytes) << "file " << name;
  }
}

}  // namespace

Observed RunCase(const Case& test_case, bool remembering) {
  SetRememberingForTests(remembering);
  const TempFolder folder;
  PutInputsInPlace(test_case);
  Observed observed;
  if (test_case.script) {
    observed = Observe<CScript>([](CScript& script, Observed&) { return script.Run(kScriptName); });
  } else {
    observed = Observe<CMARCTree>(
        [&](CMARCTree& tree, Observed& seen) { return RunFilter(tree, test_case.tree.has_value(), seen.tree); });
  }
  observed.files = ReadFolder(folder.path());
  SetRememberingForTests(true);
  return observed;
}

void CheckCase(const Case& test_case) {
  ASSERT_TRUE(test_case.fault.empty()) << test_case.fault;
  const std::string& source = (test_case.script ? test_case.script : test_case.filter)->text;
  SCOPED_TRACE(test_case.place + ": " + test_case.title + "\n" + source.substr(0, 1000));
  const Observed remembered = RunCase(test_case, true);
  const Observed plain = RunCase(test_case, false);
  {
    SCOPED_TRACE("with and without what is remembered");
    ExpectAgreement(remembered, plain);
  }
  ExpectAll(test_case, remembered);
}

}  // namespace karst::testing
