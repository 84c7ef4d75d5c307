// Running the record reader and accounting for its input.
#include "support/record_run.h"

#include <algorithm>
#include <memory>

namespace karst::testing {

int64_t MemorySource::Read(char* target, size_t count) {
  if (rest_.empty()) return fails_ ? -1 : 0;
  const size_t given = rest_.copy(target, std::min(count, portion_));
  rest_.remove_prefix(given);
  return static_cast<int64_t>(given);
}

std::vector<std::string> RecordRun::Texts() const {
  std::vector<std::string> texts;
  for (const Piece& piece : pieces) {
    if (piece.is_record) texts.push_back(piece.text);
  }
  return texts;
}

std::vector<std::string> RecordRun::Reasons() const {
  std::vector<std::string> reasons;
  for (const Piece& piece : pieces) {
    if (!piece.is_record) reasons.push_back(piece.text);
  }
  return reasons;
}

RecordRun ReadAll(std::string_view bytes, RecordReaderLimits limits, size_t portion) {
  RecordReader reader(std::make_unique<MemorySource>(bytes, portion), limits);
  RecordRun run;
  const auto keep_skipped = [&run](const SkippedRecord& skipped) {
    run.pieces.push_back({skipped.offset, std::string(skipped.bytes), skipped.reason, false});
    run.longest_report = std::max(run.longest_report, skipped.bytes.size());
  };
  while ((run.last = reader.Next(keep_skipped)) == ReadResult::kRecord || run.last == ReadResult::kPassedOver) {
    if (run.last != ReadResult::kRecord) continue;
    run.pieces.push_back({reader.RecordOffset(), std::string(reader.RawBytes()), std::string(reader.Text()), true});
  }
  run.repaired = reader.RepairedCount();
  return run;
}

std::string AccountFault(const RecordRun& run, std::string_view bytes) {
  if (run.last != ReadResult::kEnd) return "the run did not reach the end";
  size_t position = 0;
  const auto only_separators = [&](size_t end, std::string_view separators) {
    return bytes.substr(position, end - position).find_first_not_of(separators) == std::string_view::npos;
  };
  for (const RecordRun::Piece& piece : run.pieces) {
    const std::string place = " at " + std::to_string(piece.offset);
    if (piece.bytes.empty()) return "an empty piece" + place;
    if (piece.offset < position) return "bytes given twice" + place;
    if (!only_separators(piece.offset, "\r\n ")) return "bytes lost ahead of the piece" + place;
    if (bytes.substr(piece.offset, piece.bytes.size()) != piece.bytes) return "other bytes" + place;
    position = piece.offset + piece.bytes.size();
  }
  return only_separators(bytes.size(), "\r\n \x1A") ? "" : "bytes lost at the end";
}

std::string Digits(size_t number, size_t width) {
  const std::string digits = std::to_string(number);
  return std::string(width - std::min(width, digits.size()), '0') + digits;
}

std::string IsoBytes(const std::vector<IsoField>& fields) {
  std::string directory, data;
  for (const IsoField& field : fields) {
    directory += field.tag + Digits(field.body.size() + 1, 4) + Digits(data.size(), 5);
    data += field.body + '\x1E';
  }
  const size_t base = 24 + directory.size() + 1;
  return Digits(base + data.size() + 1, 5) + "nam0 22" + Digits(base, 5) + "   450 " + directory + '\x1E' + data +
         '\x1D';
}

std::string InternalText(std::string_view header, const std::vector<IsoField>& fields) {
  std::string text(header);
  for (const IsoField& field : fields) text += field.tag + field.body + '\x1E';
  return text + '\x1D';
}

}  // namespace karst::testing
