// OutputLog: all bytes in one text, and where each entry of it ends.
#include "cli/base/output_log.h"

namespace karst::cli {
namespace {

constexpr size_t kKeptBytes = 4 << 20;

bool StaysApart(OutputLog::Kind kind) { return kind == OutputLog::Kind::kBox || kind == OutputLog::Kind::kNotice; }

}  // namespace

void OutputLog::Add(Kind kind, std::string_view bytes, std::string_view name) {
  if (discards_) return;
  const uint32_t number = NumberOf(name);
  bytes_ += bytes;
  const bool goes_on = !places_.empty() && places_.back().kind == kind && places_.back().name == number;
  if (goes_on && !StaysApart(kind)) {
    places_.back().end = bytes_.size();
  } else {
    places_.push_back({kind, number, bytes_.size()});
  }
}

// SPEED: the name used last is looked at first; a filter writes to few files.
uint32_t OutputLog::NumberOf(std::string_view name) {
  if (!places_.empty() && names_[places_.back().name] == name) return places_.back().name;
  for (uint32_t number = 0; number < names_.size(); ++number) {
    if (names_[number] == name) return number;
  }
  names_.emplace_back(name);
  return static_cast<uint32_t>(names_.size() - 1);
}

void OutputLog::ForEach(const std::function<void(const Entry&)>& use) const {
  size_t begin = 0;
  for (const Place& place : places_) {
    use({place.kind, names_[place.name], std::string_view(bytes_).substr(begin, place.end - begin)});
    begin = place.end;
  }
}

void OutputLog::Clear() {
  bytes_.clear();
  if (bytes_.capacity() > kKeptBytes) bytes_.shrink_to_fit();
  places_.clear();
  names_.clear();
}

}  // namespace karst::cli
