// Calls of the C interface, in any order and with any bytes: every status is one that the call may give, every text
// that comes out is in the handle's encoding, what goes in and out again is the same.
//
// Input: the encoding of the handles, then calls, each a byte for its kind and its texts (see Calls). Scripts and
// filters are some of ours: other harnesses run those that nobody has thought of.
#include <karst/karst.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "script/remembered.h"
#include "support/fuzz_input.h"
#include "support/record_run.h"
#include "support/scratch_folder.h"
#include "text/charset.h"

namespace {

using karst::testing::FuzzInput;
using karst::testing::Require;

constexpr long kMostStatements = 1000;
constexpr size_t kMostCalls = 60;
constexpr const char* kFile = "given";

constexpr const char* kFilters[] = {
    "Record {\r\nField \"***\" {\r\nsoutput = soutput + _FIELDNAME + _INDICATOR + _FIELD\r\n}\r\n}\r\n",
    "Record {\r\nField \"2**\" {\r\nSubField \"a\" {\r\nprintf(\"%s\\n\", _SUBFIELD)\r\n}\r\n}\r\n}\r\n",
    "int n = 1\r\nRecord {\r\nfnprintf(\"stdout\", \"%s%d\", _RECORD, n)\r\nn = n / (n - 1)\r\n}\r\n",
    "soutput = soutput + v\r\nRecord {\r\nField \"200\" {\r\nMsgBox(_FIELD)\r\n}\r\n}\r\nFinal {\r\nstop -1\r\n}\r\n",
    "Record {\r\nint n\r\nloop 1\r\nn = n + 1\r\nprintf(\"%d\", n)\r\nendloop\r\n}\r\n",
    "Record {\r\nField \"1**\" {\r\nv = v + _FIELD\r\n}\r\nField {\r\n",
};
constexpr const char* kScripts[] = {
    "string s\r\nCharToStr(129, &s)\r\nprintf(\"%s&#128512;%s\", s, s)\r\nstop 7\r\n",
    "int n\r\nloop n < 100\r\nfnprintf(\"stdout\", \"%d\", n)\r\nMsgBox(\"\")\r\nn = n + 1\r\nendloop\r\n",
    "printf(\"%s\", v)\r\n",
    "int n = 1 / 0\r\n",
};

struct EngineFree {
  void operator()(karst_engine* engine) const { karst_engine_free(engine); }
};
struct ReaderFree {
  void operator()(karst_reader* reader) const { karst_reader_free(reader); }
};

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const karst::DecodedCharacter character = karst::DecodeUtf8(text);
    if (character.code == karst::kNoCharacter) return false;
    text.remove_prefix(character.length);
  }
  return true;
}

class Calls {
 public:
  explicit Calls(karst_encoding encoding)
      : encoding_(encoding), engine_(karst_engine_new(encoding)), other_(karst_engine_new(KARST_GBK)) {
    Require(engine_ && other_);
    karst_on_message(engine_.get(), TakeText, this);
    karst_on_output(engine_.get(), TakeText, this);
    karst_on_message_box(engine_.get(), TakeBox, this);
    karst_on_progress(engine_.get(), TakeProgress, this);
    karst_on_skipped(engine_.get(), TakeSkipped, this);
  }

  void Run(FuzzInput& input) {
    karst::SetStatementBudgetForTests(kMostStatements);
    switch (input.Byte() % 10) {
      case 0: return Load(kFilters[input.Byte() % std::size(kFilters)]);
      case 1: return RunScript(kScripts[input.Byte() % std::size(kScripts)]);
      case 2: return FilterRecord(input.Text());
      case 3: return FilterFile(input.Text());
      case 4: return Keep(input.Text(), input.Text());
      case 5: return Convert(input.Text());
      case 6: return ReadFile(input.Text());
      case 7: return static_cast<void>(stop_at_ = input.Byte());
      case 8: return LoadNamed(input.Text());
      default: return Misuse(input.Byte());
    }
  }

 private:
  // --- What the engine is asked

  void Load(const char* source) {
    Write(source);
    has_filter_ = Check(karst_load_filter(engine_.get(), kFile, std::strlen(kFile))) == KARST_OK;
  }
  void LoadNamed(const std::string& name) {
    if (name.find_first_of("/\\") != name.npos || name.starts_with('.')) return;
    Require(Check(karst_load_filter(engine_.get(), name.data(), name.size())) != KARST_OK || name == kFile);
    has_filter_ = false;
  }
  void RunScript(const char* source) {
    Write(source);
    int result = -77;
    const karst_status status = Check(karst_run_script(engine_.get(), kFile, std::strlen(kFile), &result));
    Require((result == -77) == (status != KARST_OK));
  }
  void FilterRecord(const std::string& record) {
    const char* output = nullptr;
    size_t length = 0;
    const karst_status status =
        Check(karst_filter_record(engine_.get(), record.data(), record.size(), &output, &length));
    Require(has_filter_ || status == KARST_ERROR_NO_FILTER);
    CheckText(output, length);
  }
  void FilterFile(const std::string& bytes) {
    Write(bytes);
    const karst_status status = Check(karst_filter_file(engine_.get(), kFile, std::strlen(kFile)));
    Require(has_filter_ || status == KARST_ERROR_NO_FILTER);
  }
  void Keep(const std::string& name, const std::string& value) {
    if (Check(karst_set_variable(engine_.get(), name.data(), name.size(), value.data(), value.size())) != KARST_OK) {
      return;
    }
    const char* got = nullptr;
    size_t length = 0;
    Require(Check(karst_get_variable(engine_.get(), name.data(), name.size(), &got, &length)) == KARST_OK);
    CheckText(got, length);
    Require(std::string(got, length) == value);
  }
  void Misuse(uint8_t kind) {
    karst_engine* const none = nullptr;
    Require(!karst_engine_new(static_cast<karst_encoding>(2 + kind)));
    Require(karst_filter_record(none, "", 0, nullptr, nullptr) == KARST_ERROR_ARGUMENT);
    Require(karst_filter_record(engine_.get(), nullptr, 1 + kind, nullptr, nullptr) < KARST_OK);
    Require(karst_set_variable(engine_.get(), "", 0, "", 0) == KARST_ERROR_ARGUMENT);
    Require(karst_error_text(none, nullptr)[0] == 0 && karst_error_line(none) == 0);
    Require(karst_reader_next(nullptr) == KARST_ERROR_ARGUMENT && karst_reader_text(nullptr, nullptr)[0] == 0);
    karst_stop(engine_.get());  // nothing runs, and the next run is not stopped by it
  }

  // --- Records

  void Convert(const std::string& record) {
    const std::string iso = Converted(karst_to_iso2709, record);
    const std::string back = Converted(karst_from_iso2709, iso);
    Require(iso.empty() == back.empty());
    if (!iso.empty()) Require(Converted(karst_to_iso2709, back) == iso);
    Converted(karst_from_iso2709, record);
  }
  // Empty where there is no such form.
  template <typename Function>
  static std::string Converted(Function convert, const std::string& bytes) {
    size_t needed = 1;
    const karst_status asked = convert(bytes.data(), bytes.size(), nullptr, 0, &needed);
    Require(asked == KARST_ERROR_ROOM || (asked == KARST_ERROR_RECORD && needed == 0));
    if (asked != KARST_ERROR_ROOM) return "";
    std::string small(needed - 1, '?'), result(needed, '?');
    const std::string before = small;
    Require(convert(bytes.data(), bytes.size(), small.data(), small.size(), nullptr) == KARST_ERROR_ROOM);
    Require(small == before);
    Require(convert(bytes.data(), bytes.size(), result.data(), result.size(), &needed) == KARST_OK);
    Require(needed == result.size());
    return result;
  }
  // Records, stretches and the separators between them are the whole file.
  void ReadFile(const std::string& bytes) {
    Write(bytes);
    const std::unique_ptr<karst_reader, ReaderFree> reader(karst_reader_new(encoding_));
    Require(karst_reader_open(reader.get(), kFile, std::strlen(kFile)) == KARST_OK);
    karst::testing::RecordRun run;
    karst_status status;
    while ((status = karst_reader_next(reader.get())) == KARST_OK || status == KARST_SKIPPED) {
      run.pieces.push_back(Piece(reader.get(), status == KARST_OK));
    }
    Require(status == KARST_END && karst::testing::AccountFault(run, bytes).empty());
    Require(karst_reader_position(reader.get()) == karst_reader_size(reader.get()));
  }
  karst::testing::RecordRun::Piece Piece(const karst_reader* reader, bool is_record) {
    size_t raw_length, length;
    const char* raw = karst_reader_raw(reader, &raw_length);
    const char* text = is_record ? karst_reader_text(reader, &length) : karst_reader_reason(reader, &length);
    CheckText(text, length);
    Require(length > 0);
    return {karst_reader_offset(reader), {raw, raw_length}, {text, length}, is_record};
  }

  // --- What is the same for all

  static void Write(std::string_view bytes) {
    std::ofstream(kFile, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  karst_status Check(karst_status status) const {
    Require(status != KARST_ERROR_INTERNAL && status != KARST_ERROR_BUSY && status != KARST_ERROR_MEMORY);
    Require(std::strcmp(karst_status_text(status), "unknown status") != 0);
    size_t length;
    const char* text = karst_error_text(engine_.get(), &length);
    CheckText(text, length);
    const int line = karst_error_line(engine_.get());
    if (status < 0) Require(length > 0 && line >= 0 && (line == 0 || status == KARST_ERROR_SCRIPT));
    return status;
  }
  void CheckText(const char* text, size_t length) const {
    Require(text && text[length] == 0);
    Require(encoding_ == KARST_GBK || IsUtf8({text, length}));
  }

  // --- Callbacks

  int BeCalled() {
    Require(karst_load_filter(engine_.get(), kFile, std::strlen(kFile)) == KARST_ERROR_BUSY);
    Require(karst_filter_record(engine_.get(), "", 0, nullptr, nullptr) == KARST_ERROR_BUSY);
    Require(karst_on_message(engine_.get(), nullptr, nullptr) == KARST_ERROR_BUSY);
    karst_engine_free(engine_.get());
    Require(karst_filter_record(other_.get(), "", 0, nullptr, nullptr) == KARST_ERROR_NO_FILTER);
    if (stop_at_ > 0 && --stop_at_ == 0) karst_stop(engine_.get());
    return 1;
  }
  static void TakeText(void* self, const char* text, size_t length) {
    auto& calls = *static_cast<Calls*>(self);
    Require(length > 0 && (calls.encoding_ == KARST_GBK || IsUtf8({text, length})));
    calls.BeCalled();
  }
  static int TakeBox(void* self, const char* text, size_t length) {
    static_cast<Calls*>(self)->CheckText(text, length);
    return static_cast<Calls*>(self)->BeCalled();
  }
  static int TakeProgress(void* self, uint64_t position, uint64_t size, uint64_t) {
    Require(position <= size);
    static_cast<Calls*>(self)->BeCalled();
    return 0;
  }
  static void TakeSkipped(void* self, uint64_t, const char* bytes, size_t length, const char* reason, size_t size) {
    Require(bytes && length > 0 && size > 0);
    static_cast<Calls*>(self)->CheckText(reason, size);
    static_cast<Calls*>(self)->BeCalled();
  }

  karst_encoding encoding_;
  std::unique_ptr<karst_engine, EngineFree> engine_;
  std::unique_ptr<karst_engine, EngineFree> other_;
  bool has_filter_ = false;
  int stop_at_ = 0;  // the callback that stops the run, 0 for none
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const karst::testing::ScratchFolder folder;
  FuzzInput input(data, size);
  Calls calls(input.Byte() % 2 == 0 ? KARST_GBK : KARST_UTF8);
  for (size_t i = 0; i < kMostCalls && !input.IsEmpty(); ++i) calls.Run(input);
  return 0;
}
