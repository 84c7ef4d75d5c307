// DelayedOutput: the log, and what is open by name.
#include "cli/run/jobs/delayed_output.h"

#include <filesystem>

#include "cli/base/console.h"

namespace karst::cli {
namespace {

// One text for all names of a file, whether it is there yet or not.
std::string PathOf(std::string_view file) {
  const std::string path = ToFileSystemName(CString(file));
  std::error_code fault;
  const std::filesystem::path whole = std::filesystem::absolute(path, fault);
  const std::filesystem::path resolved = std::filesystem::weakly_canonical(whole, fault);
  return fault ? whole.lexically_normal() : resolved;
}

}  // namespace

DelayedOutput::DelayedOutput(CFuncArray& engine) : engine_(engine) {
  engine.OnNamedOutput([this](const NamedText& text) { return Take(text); });
}

int32_t DelayedOutput::Take(const NamedText& text) {
  OutputLog& log = *Console::Diverted();
  if (!text.converted) {
    Note(text.file);
    log.Add(OutputLog::Kind::kNamed, text.bytes, text.file);
  } else if (IsOpen(text.file)) {
    log.Add(OutputLog::Kind::kNamedRefused, "", text.file);
    return -1;
  } else {
    log.Add(OutputLog::Kind::kNamedConverted, text.bytes, text.file);
  }
  return static_cast<int32_t>(text.bytes.size());
}

void DelayedOutput::Note(std::string_view file) {
  if (names_.contains(file)) return;
  paths_.insert(PathOf(file));
  names_.emplace(file);
}

bool DelayedOutput::IsOpen(std::string_view file) const {
  return engine_.HasFileOpen(CString(file)) || (!paths_.empty() && paths_.contains(PathOf(file)));
}

}  // namespace karst::cli
