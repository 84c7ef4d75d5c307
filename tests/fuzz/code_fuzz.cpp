// Any bytes as a source: the rewrite, the token walk and the scans over the code stay inside the buffer, and a second
// walk over the code that the first one edited sees the same tokens.
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "helpers/zebutil.h"
#include "script/code.h"
#include "support/fuzz_input.h"
#include "support/scratch_folder.h"

namespace {

using karst::testing::Require;

struct SeenToken {
  int number;
  int type;
  ptrdiff_t behind;
  // A word in number form ends earlier than the word itself did.
  bool operator==(const SeenToken& other) const { return number == other.number && type == other.type; }
};

// A source that the fuzzer has given, loaded as a file is.
class LoadedCode : public CCode {
 public:
  explicit LoadedCode(const std::string& source) {
    const int length = ChangeCode(source.c_str(), static_cast<int>(source.size()), &lpCodeBuffer);
    nCodeLen = length;
    lpProg = lpCodeBuffer;
  }

  std::vector<SeenToken> Walk() {
    std::vector<SeenToken> seen;
    ResetCodeStartPos();
    try {
      do {
        GetToken();
        seen.push_back({nTok, nTokenType, lpProg - lpCodeBuffer});
        CheckPosition();
      } while (nTok != karst::FINISHED && seen.size() <= static_cast<size_t>(nCodeLen));
    } catch (const CError&) {
      CheckPosition();
    }
    return seen;
  }

  void CheckPosition() const { Require(lpProg >= lpCodeBuffer && lpProg < lpCodeBuffer + nCodeLen); }

  // The scans, from a place where a token ends and with that place as the end of a piece.
  void ScanFrom(ptrdiff_t offset) {
    lpProg = lpCodeBuffer + offset;
    GetCurLineNumber();
    FindEOL();
    CheckPosition();
    try {
      lpProg = lpCodeBuffer + offset;
      FindElse();
    } catch (const CError&) {
    }
    CheckPosition();
    lpProg = lpCodeBuffer;
    lpProgEnd = lpCodeBuffer + offset;
    FindEOL();
    lpProgEnd = nullptr;
    CheckPosition();
  }
};

void Exercise(LoadedCode& code) {
  const std::vector<SeenToken> first = code.Walk();
  Require(first == code.Walk());
  const size_t step = first.size() / 8 + 1;
  for (size_t i = 0; i < first.size(); i += step) code.ScanFrom(first[i].behind);
  for (const char* label : {"a", "again", "`2", ""}) {
    const char* found = code.FindLabel(label);
    Require(!found || (found >= code.lpCodeBuffer && found < code.lpCodeBuffer + code.nCodeLen));
  }
  code.DumpCode("dump", code.lpCodeBuffer, code.nCodeLen);
}

// The rewrite in place makes the same text as the one into a new buffer.
void CheckRewriteInPlace(LoadedCode& code, const std::string& source, const std::string& rewritten) {
  char* buffer = new char[source.size() + 1];
  std::memcpy(buffer, source.c_str(), source.size() + 1);
  const auto length = static_cast<size_t>(code.ChangeCode(&buffer, static_cast<int>(source.size())));
  Require(std::string(buffer, length) == rewritten);
  delete[] buffer;
}

// A refused byte leaves diagnostic files in the working directory. Directories of their names keep the disk out of it.
bool BlockDiagnosticFiles() {
  for (const char* name : {"dumpcode.bin", "dumpcode.flt", "karst.log"}) std::filesystem::create_directory(name);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const karst::testing::ScratchFolder folder;
  [[maybe_unused]] static const bool blocked = BlockDiagnosticFiles();
  if (size > 4096) return -1;
  const std::string source(reinterpret_cast<const char*>(data), size);
  std::unique_ptr<LoadedCode> code;
  try {
    code = std::make_unique<LoadedCode>(source);
  } catch (const CError&) {
    return 0;  // a literal that is left open
  }
  const std::string rewritten(code->lpCodeBuffer, static_cast<size_t>(code->nCodeLen));
  CheckRewriteInPlace(*code, source, rewritten);
  Exercise(*code);
  return 0;
}
