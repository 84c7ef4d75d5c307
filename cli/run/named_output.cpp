// NamedOutput: appending in the order of the records.
#include "cli/run/named_output.h"

#include <cerrno>
#include <cstring>

namespace karst::cli {

NamedOutput::NamedOutput(CFuncArray& engine, Console& console, std::optional<Encoding> encoding)
    : engine_(engine), console_(console), to_utf8_(encoding == Encoding::kUtf8) {
  if (to_utf8_) engine.OnNamedOutput([this](const NamedText& text) { return Deliver(text); });
  engine.OnNamedOutputFailure([this](std::string_view file, int error) { TellLoss(file, error); });
}

NamedOutput::~NamedOutput() {
  if (to_utf8_) engine_.OnNamedOutput({});
  engine_.OnNamedOutputFailure({});
}

int32_t NamedOutput::Deliver(const NamedText& text) {
  if (!to_utf8_ || text.converted) return engine_.AppendToFile(text);
  std::string utf8;
  streams_[std::string(text.file)].Convert(text.bytes, utf8);
  const bool whole = engine_.AppendToFile({text.file, utf8, false}) == static_cast<int32_t>(utf8.size());
  return whole ? static_cast<int32_t>(text.bytes.size()) : -1;
}

void NamedOutput::DeliverLate(const OutputLog::Entry& entry) {
  if (entry.kind == OutputLog::Kind::kNamedRefused) return TellLoss(entry.name, EBUSY);
  Deliver({entry.name, entry.bytes, entry.kind == OutputLog::Kind::kNamedConverted});
}

void NamedOutput::TellLoss(std::string_view file, int error) {
  whole_ = false;
  const std::string reason = error == EBUSY ? "bmprintf cannot write to it while it is open" : std::strerror(error);
  console_.SayOnce("lost:" + std::string(file), "cannot write " + console_.Displayed(file) + ": " + reason);
}

void NamedOutput::Finish() {
  for (auto& [file, stream] : streams_) {
    std::string utf8;
    stream.Finish(utf8);
    if (!utf8.empty()) engine_.AppendToFile({file, utf8, false});
  }
  engine_.CloseAllCatchedFileHandle();
}

}  // namespace karst::cli
