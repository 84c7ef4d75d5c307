// NamedFiles: appending in the order of the records.
#include "filter/named_files.h"

#include <cerrno>
#include <cstring>

namespace karst::cli {

NamedFiles::NamedFiles(CFuncArray& engine, Console& console, RecordCharset charset)
    : engine_(engine), console_(console), to_utf8_(charset == RecordCharset::kUtf8) {
  if (to_utf8_) engine.OnNamedOutput([this](const NamedText& text) { return Deliver(text); });
}

int32_t NamedFiles::Deliver(const NamedText& text) {
  if (!to_utf8_ || text.converted) return engine_.AppendToFile(text);
  std::string utf8;
  streams_[std::string(text.file)].Convert(text.bytes, utf8);
  const bool whole = engine_.AppendToFile({text.file, utf8, false}) == static_cast<int32_t>(utf8.size());
  return whole ? static_cast<int32_t>(text.bytes.size()) : -1;
}

void NamedFiles::DeliverLate(const NamedText& text) {
  if (lost_.contains(text.file)) return;
  errno = 0;
  if (Deliver(text) != static_cast<int32_t>(text.bytes.size())) TellLoss(text.file);
}

void NamedFiles::TellLoss(std::string_view file) {
  const std::string reason = errno != 0 ? std::string(": ") + std::strerror(errno) : "";
  lost_.emplace(file);
  console_.Say("cannot write " + console_.Displayed(file) + reason);
}

void NamedFiles::Finish() {
  for (auto& [file, stream] : streams_) {
    std::string utf8;
    stream.Finish(utf8);
    errno = 0;
    const auto size = static_cast<int32_t>(utf8.size());
    if (size > 0 && engine_.AppendToFile({file, utf8, false}) != size && !lost_.contains(file)) TellLoss(file);
  }
}

int32_t NamedFiles::Divert(const NamedText& text) {
  const auto kind = text.converted ? OutputLog::Kind::kNamedConverted : OutputLog::Kind::kNamed;
  Console::Diverted()->Add(kind, text.bytes, text.file);
  return static_cast<int32_t>(text.bytes.size());
}

}  // namespace karst::cli
