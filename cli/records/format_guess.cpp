// Finding out: each format gets its turn on the bytes at hand, the likeliest first, until one finds a record.
#include "cli/records/format_guess.h"

#include <algorithm>
#include <array>

#include "cli/base/ascii.h"
#include "records/cartulary.h"
#include "text/charset.h"

namespace karst::cli {
namespace {

constexpr size_t kFirstLook = 4096;
constexpr size_t kLongestLook = size_t{1} << 20;
constexpr std::string_view kWhiteSpace = " \t\r\n";

using Formats = std::array<RecordFormat, 3>;

bool HasUtf16Mark(std::string_view head) { return head.starts_with("\xFE\xFF") || head.starts_with("\xFF\xFE"); }

// Charsets whose text UTF-8 text is, too.
bool IsUtf8(std::string_view charset) {
  return charset.empty() || charset == "utf-8" || charset == "utf8" || charset == "us-ascii" || charset == "ascii";
}

// What the first bytes look like.
RecordFormat LikeliestFormat(std::string_view head) {
  if (HasUtf16Mark(head)) return RecordFormat::kMarcXml;
  if (head.starts_with(kByteOrderMark)) head.remove_prefix(kByteOrderMark.size());
  head.remove_prefix(std::min(head.find_first_not_of(kWhiteSpace), head.size()));
  if (head.starts_with('<')) return RecordFormat::kMarcXml;
  return head.starts_with("LDR") ? RecordFormat::kLines : RecordFormat::kIso2709;
}

Formats InOrder(std::string_view head) {
  Formats formats = {RecordFormat::kIso2709, RecordFormat::kMarcXml, RecordFormat::kLines};
  std::rotate(formats.begin(), std::find(formats.begin(), formats.end(), LikeliestFormat(head)), formats.end());
  return formats;
}

enum class Evidence { kNone, kSign, kRecord };

Evidence Try(RecordFormat format, const std::string& head, RecordCharset charset) {
  const auto state = std::make_shared<SourceState>();
  std::unique_ptr<RecordParser> parser = MakeParser(format, MakeMemorySource(head), head, charset, state);
  // A charset that the system does not know will be told; here, tags are ASCII in it.
  if (!parser) parser = MakeXmlParser(MakeMemorySource(head));
  ReadResult result = ReadResult::kPassedOver;
  while (result == ReadResult::kPassedOver) result = parser->Next({});
  if (result == ReadResult::kRecord) return Evidence::kRecord;
  constexpr char kEnds[] = {kFieldEnd, kRecordEnd};
  const bool binary = format == RecordFormat::kIso2709 && head.find_first_of(kEnds, 0, sizeof kEnds) != head.npos;
  return binary || parser->HasSign() ? Evidence::kSign : Evidence::kNone;
}

// The first format with as much evidence, kAuto if there is none.
RecordFormat FindFormat(const std::string& head, RecordCharset charset, Evidence wanted) {
  const Formats formats = InOrder(head);
  const auto found = std::find_if(formats.begin(), formats.end(),
                                  [&](RecordFormat format) { return Try(format, head, charset) >= wanted; });
  return found == formats.end() ? RecordFormat::kAuto : *found;
}

std::string Unpacked(const std::string& head) {
  const auto gzip = MakeGzipSource(MakeMemorySource(head), std::make_shared<SourceState>());
  std::string unpacked(kLongestLook, '\0');
  size_t size = 0;
  for (int64_t read = 1; read > 0 && size < unpacked.size(); size += static_cast<size_t>(std::max<int64_t>(read, 0))) {
    read = gzip->Read(unpacked.data() + size, unpacked.size() - size);
  }
  unpacked.resize(size);
  return unpacked;
}

}  // namespace

std::string DeclaredCharset(std::string_view head) {
  if (HasUtf16Mark(head)) return "utf-16";
  constexpr std::string_view kName = "encoding";
  const size_t start = head.find("<?xml");
  const size_t end = head.find("?>", start == head.npos ? head.size() : start);
  if (end == head.npos) return "";
  std::string_view declaration = head.substr(start, end - start);
  const size_t name = declaration.find(kName);
  if (name == head.npos) return "";
  declaration.remove_prefix(name + kName.size());
  const size_t quote = declaration.find_first_of("\"'");
  if (quote == head.npos) return "";
  const size_t close = declaration.find(declaration[quote], quote + 1);
  return LoweredAscii(declaration.substr(quote + 1, close == head.npos ? 0 : close - quote - 1));
}

std::unique_ptr<RecordParser> MakeParser(RecordFormat format, std::unique_ptr<ByteSource> source, std::string_view head,
                                         RecordCharset charset, const SharedSourceState& state) {
  if (format == RecordFormat::kLines) return MakeLineParser(std::move(source));
  if (format != RecordFormat::kMarcXml) return MakeBinaryParser(std::move(source));
  std::string declared = DeclaredCharset(head);
  if (charset == RecordCharset::kGbk && IsUtf8(declared)) declared = "gbk";
  if (IsUtf8(declared)) return MakeXmlParser(std::move(source));
  std::unique_ptr<ByteSource> text = MakeTextSource(std::move(source), declared, state);
  if (text) return MakeXmlParser(std::move(text));
  state->fault = "unknown charset " + declared;
  return nullptr;
}

RecordFormat GuessFormat(PeekSource& source, RecordCharset charset) {
  for (size_t size = kFirstLook;; size = 2 * source.Head().size()) {
    const bool readable = source.Peek(size);
    const RecordFormat found = FindFormat(source.Head(), charset, Evidence::kRecord);
    if (found != RecordFormat::kAuto) return found;
    const size_t held = source.Head().size();
    if (!readable || held < size || held >= kLongestLook) break;
  }
  return FindFormat(source.Head(), charset, Evidence::kSign);
}

bool OnlyLooksCompressed(const std::string& head, RecordFormat format, RecordCharset charset) {
  const auto has_record = [&](const std::string& bytes) {
    if (format != RecordFormat::kAuto) return Try(format, bytes, charset) == Evidence::kRecord;
    return FindFormat(bytes, charset, Evidence::kRecord) != RecordFormat::kAuto;
  };
  return has_record(head) && !has_record(Unpacked(head));
}

}  // namespace karst::cli
