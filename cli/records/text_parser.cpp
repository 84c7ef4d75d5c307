// TextParser: separators are passed, records decoded, all else is reported.
#include "cli/records/text_parser.h"

#include <algorithm>

#include "cli/base/encoding.h"

namespace karst::cli {
namespace {

// LIMIT: as of the library's own record reader, so that every record can be read again in any form.
constexpr size_t kLongestText = size_t{1} << 20;

}  // namespace

ReadResult TextParser::Next(const SkippedRecordHandler& handler) {
  raw_ = {};
  text_.clear();
  while (true) {
    const Stretch stretch = FindStretch();
    if (window_.Failed() || stretch.kind == Kind::kBroken) return ReadResult::kFailed;
    if (stretch.kind == Kind::kEnd) return ReadResult::kEnd;
    const std::string_view bytes = window_.View().substr(0, stretch.size);
    if (stretch.kind == Kind::kSeparator) {
      window_.Advance(stretch.size);
      continue;
    }
    const std::string fault = stretch.kind == Kind::kRecord ? FaultOf(bytes) : stretch.fault;
    if (!fault.empty()) {
      text_.clear();
      Report(stretch.size, fault.c_str(), handler);
      return ReadResult::kPassedOver;
    }
    raw_ = bytes;
    record_offset_ = window_.Offset();
    window_.Advance(stretch.size);
    ++record_count_;
    return ReadResult::kRecord;
  }
}

std::string TextParser::FaultOf(std::string_view stretch) {
  std::string fault = Decode(stretch, text_);
  if (fault.empty() && text_.size() > kLongestText) fault = ToGbk("记录太长");
  return fault;
}

void TextParser::Report(size_t size, const char* fault, const SkippedRecordHandler& handler) {
  const SkippedRecord skipped{window_.Offset(), window_.View().substr(0, size), fault};
  window_.Advance(size);
  ++skipped_count_;
  skipped_bytes_ += size;
  if (handler) handler(skipped);
}

void TextParser::Close() {
  window_.Close();
  raw_ = {};
  text_.clear();
}

size_t TextParser::Find(std::string_view text, size_t from) {
  while (true) {
    const size_t found = View().find(text, from);
    if (found != kNowhere) return found;
    // A part of it may stand at the end of what is at hand.
    const size_t size = View().size();
    if (size >= text.size()) from = std::max(from, size - text.size() + 1);
    if (!Grow()) return kNowhere;
  }
}

}  // namespace karst::cli
