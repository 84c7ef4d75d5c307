// NamedFiles: appending in the order of the records.
#include "filter/named_files.h"

#include <cerrno>
#include <cstring>

namespace karst::cli {

void NamedFiles::DeliverLate(const NamedText& text) {
  if (lost_.contains(text.file)) return;
  errno = 0;
  if (engine_.AppendToFile(text) == static_cast<int32_t>(text.bytes.size())) return;
  const std::string reason = errno != 0 ? std::string(": ") + std::strerror(errno) : "";
  lost_.emplace(text.file);
  console_.Say("cannot write " + console_.Displayed(text.file) + reason);
}

int32_t NamedFiles::Divert(const NamedText& text) {
  const auto kind = text.converted ? OutputLog::Kind::kNamedConverted : OutputLog::Kind::kNamed;
  Console::Diverted()->Add(kind, text.bytes, text.file);
  return static_cast<int32_t>(text.bytes.size());
}

}  // namespace karst::cli
