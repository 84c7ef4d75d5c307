// Reading case files, and the two ways between their text and the engine's bytes.
#include "support/case_file.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "records/cartulary.h"
#include "text/charset.h"

namespace karst::testing {
namespace {

std::vector<std::string_view> SplitLines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

std::vector<std::string> SplitWords(std::string_view line) {
  std::istringstream stream{std::string(line)};
  std::vector<std::string> words;
  for (std::string word; stream >> word;) words.push_back(word);
  return words;
}

std::string ToGbk(std::string_view utf8) {
  std::string gbk;
  size_t bad_offset = 0;
  if (!Utf8ToGbk(utf8, gbk, &bad_offset)) throw std::runtime_error("no GBK for: " + std::string(utf8));
  return gbk;
}

int HexValue(char digit) {
  const char digits[2] = {digit, 0};
  int value = -1;
  std::from_chars(digits, digits + 1, value, 16);
  return value;
}

// Takes one escape, standing at its backslash, from the front of `text`. False if it is none of ours.
bool TakeEscape(std::string_view& text, char& byte) {
  if (text.size() < 2) return false;
  if (text[1] == 'x' && text.size() >= 4 && HexValue(text[2]) >= 0 && HexValue(text[3]) >= 0) {
    byte = static_cast<char>(HexValue(text[2]) * 16 + HexValue(text[3]));
    text.remove_prefix(4);
    return true;
  }
  constexpr std::string_view kEscapes = "rnt\\$_", kBytes = "\r\n\t\\$_";
  const size_t found = kEscapes.find(text[1]);
  if (found == kEscapes.npos) return false;
  byte = kBytes[found];
  text.remove_prefix(2);
  return true;
}

// Text with escapes as bytes; what is no escape is turned into GBK.
std::string DecodeRaw(std::string_view text) {
  std::string bytes;
  while (!text.empty()) {
    const size_t plain = std::min(text.find('\\'), text.size());
    bytes += ToGbk(text.substr(0, plain));
    text.remove_prefix(plain);
    char byte = 0;
    if (text.empty()) break;
    if (!TakeEscape(text, byte)) throw std::runtime_error("no escape: " + std::string(text.substr(0, 4)));
    bytes += byte;
  }
  return bytes;
}

std::string Joined(std::string_view text) {
  std::string joined;
  for (std::string_view line : SplitLines(text)) joined += line;
  return joined;
}

void ReplaceAll(std::string& text, std::string_view from, std::string_view to) {
  for (size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size()) text.replace(at, from.size(), to);
}

// "repeat N TEXT" as N lines; in TEXT, "{i}" is the line's number from 1 up and "{j}" the same from N down.
std::string RepeatedLines(std::string_view directive) {
  size_t count = 0;
  const auto [end, error] = std::from_chars(directive.data(), directive.data() + directive.size(), count);
  if (error != std::errc() || *end != ' ') throw std::runtime_error("bad repeat: " + std::string(directive));
  std::string pattern(end + 1, directive.data() + directive.size());
  ReplaceAll(pattern, "\\n", "\n");
  std::string lines;
  for (size_t i = 1; i <= count; ++i) {
    std::string copy = pattern;
    ReplaceAll(copy, "{i}", std::to_string(i));
    ReplaceAll(copy, "{j}", std::to_string(count + 1 - i));
    lines += (i > 1 ? "\n" : "") + copy;
  }
  return lines;
}

// A line with each "@@(N*TEXT@@)" in it written out.
std::string CopiesInLine(std::string_view line) {
  std::string out;
  for (size_t at; (at = line.find("@@(")) != line.npos;) {
    out += line.substr(0, at);
    line.remove_prefix(at + 3);
    const size_t star = line.find('*'), close = line.find("@@)");
    if (star == line.npos || close == line.npos) throw std::runtime_error("bad copies: " + std::string(line));
    const int count = std::stoi(std::string(line.substr(0, star)));
    for (int i = 0; i < count; ++i) out += line.substr(star + 1, close - star - 1);
    line.remove_prefix(close + 3);
  }
  return out + std::string(line);
}

// One line of a record: "tag rest", the rest with its marks.
std::string FieldBytes(std::string_view line) {
  const bool is_header = line.starts_with("hdr ");
  const bool is_control = line.starts_with("00") || line.starts_with("-0");
  if (!is_header && (line.size() < 4 || line[3] != ' ')) throw std::runtime_error("bad field: " + std::string(line));
  std::string bytes = is_header ? "" : std::string(line.substr(0, kTagLength));
  line.remove_prefix(4);
  for (size_t column = 0; !line.empty(); ++column) {
    char byte = line[0];
    if (byte == '\\' && TakeEscape(line, byte)) {
      bytes += byte;
      continue;
    }
    const bool blank = byte == '_' && (is_header || (!is_control && column < 2));
    if (blank) byte = ' ';
    if (byte == '$' && !is_header) byte = kSubfieldMark;
    bytes += byte;
    line.remove_prefix(1);
  }
  return is_header ? bytes : bytes + kFieldEnd;
}

std::string OneRecord(const std::vector<std::string_view>& lines) {
  std::string header = "00000nam0 2200000   450 ", fields;
  for (std::string_view line : lines) {
    const std::string bytes = ToGbk(FieldBytes(line));
    if (line.starts_with("hdr ")) {
      header = bytes;
    } else {
      fields += bytes;
    }
  }
  if (header.size() != kHeaderLength) throw std::runtime_error("a header has 24 bytes: " + header);
  return header + fields + kRecordEnd;
}

// Reads the lines of one file into cases.
class CaseFileReader {
 public:
  CaseFileReader(std::string path, std::string_view text) : path_(std::move(path)) {
    for (std::string_view line : SplitLines(text)) {
      ++line_number_;
      TakeLine(line);
    }
    CloseSection();
  }

  std::vector<Case> TakeCases() { return std::move(cases_); }

 private:
  void TakeLine(std::string_view line) {
    if (line.starts_with("=== ")) {
      CloseSection();
      OpenCase(line.substr(4));
    } else if (line.starts_with("--- ") && !cases_.empty()) {
      CloseSection();
      OpenSection(line.substr(4));
    } else if (!section_.empty()) {
      (text_ += line) += '\n';
    }
  }

  void OpenCase(std::string_view title) {
    const std::filesystem::path path(path_);
    Case& opened = cases_.emplace_back();
    opened.title = title;
    opened.topic = path.parent_path().filename().string() + "_" + path.stem().string();
    opened.place = path_ + ":" + std::to_string(line_number_);
  }

  void OpenSection(std::string_view head) {
    const std::vector<std::string> words = SplitWords(head);
    section_ = words.empty() ? "?" : words[0];
    text_.clear();
    options_ = {};
    size_t next = 1;
    if (section_ == "file" || section_ == "expect-file" || section_ == "no-file" || section_ == "result") {
      if (next < words.size()) options_.name = words[next++];
    }
    for (; next < words.size(); ++next) TakeOption(words[next]);
  }

  void TakeOption(const std::string& word) {
    if (word == "lf") {
      options_.line_ends = LineEnds::kLf;
    } else if (word == "open") {
      options_.open = true;
    } else if (word == "raw") {
      options_.raw = true;
    } else {
      Fault("unknown word '" + word + "' behind '" + section_ + "'");
    }
  }

  void CloseSection() {
    if (section_.empty()) return;
    CaseText closed = options_;
    closed.text = WithoutLastLineEnds(text_);
    try {
      if (!closed.raw) closed.text = WriteOutCopies(closed.text);
      Store(cases_.back(), std::move(closed));
    } catch (const std::exception& error) {
      Fault(error.what());
    }
    section_.clear();
  }

  void Store(Case& into, CaseText text) {
    if (section_ == "error") {
      into.error = text.text;
    } else if (section_ == "result") {
      into.result = std::stoi(text.name);
    } else if (section_ == "file") {
      into.files.push_back(text);
    } else if (section_ == "expect-file") {
      into.expected_files.push_back(text);
    } else if (section_ == "no-file") {
      into.absent_files.push_back(text.name);
    } else if (section_ == "output") {
      into.output = text;
    } else if (section_ == "stdout") {
      into.stream = text;
    } else if (std::optional<CaseText>* place = PlaceOf(into)) {
      *place = text;
    } else {
      Fault("unknown section '" + section_ + "'");
    }
  }

  std::optional<CaseText>* PlaceOf(Case& into) const {
    if (section_ == "script") return &into.script;
    if (section_ == "filter") return &into.filter;
    if (section_ == "records") return &into.records;
    if (section_ == "tree") return &into.tree;
    if (section_ == "variables") return &into.variables;
    return nullptr;
  }

  void Fault(const std::string& what) {
    cases_.back().fault += path_ + ":" + std::to_string(line_number_) + ": " + what + "\n";
  }

  std::string path_;
  int line_number_ = 0;
  std::vector<Case> cases_;
  std::string section_;  // the open section's word; empty for none
  CaseText options_;
  std::string text_;
};

Case FaultyFile(const std::string& path, const std::string& fault) {
  Case faulty;
  faulty.place = path;
  faulty.topic = std::filesystem::path(path).stem().string();
  faulty.fault = fault;
  return faulty;
}

// One byte or one character of what the engine wrote, from the front of `bytes`.
std::string TakeShown(std::string_view& bytes) {
  const auto take = [&bytes](size_t count) {
    const std::string_view taken = bytes.substr(0, count);
    bytes.remove_prefix(count);
    return taken;
  };
  if (bytes.starts_with("\r\n")) return take(2), "\n";
  const auto byte = static_cast<unsigned char>(bytes[0]);
  if ((byte >= 0x20 && byte < 0x7F) || byte == '\t') return std::string(take(1));
  if (byte >= 0x80 && bytes.size() > 1) {
    const std::string character = GbkToUtf8(bytes.substr(0, 2));
    if (character.find("\xEF\xBF\xBD") == character.npos) return take(2), character;
  }
  char escape[8];
  std::snprintf(escape, sizeof escape, "\\x%02x", byte);
  return take(1), escape;
}

}  // namespace

std::vector<Case> ReadCaseFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream text;
  text << file.rdbuf();
  if (!file) return {FaultyFile(path, "cannot be read")};
  std::vector<Case> cases = CaseFileReader(path, text.str()).TakeCases();
  if (cases.empty()) return {FaultyFile(path, "holds no case")};
  for (Case& each : cases) {
    if (each.script.has_value() == each.filter.has_value()) each.fault += "needs a script or a filter\n";
  }
  return cases;
}

std::vector<Case> ReadAllCases(const std::string& folder) {
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.path().extension() == ".case") paths.push_back(entry.path().string());
  }
  std::sort(paths.begin(), paths.end());
  std::vector<Case> cases;
  for (const std::string& path : paths) {
    for (Case& each : ReadCaseFile(path)) cases.push_back(std::move(each));
  }
  return cases;
}

std::string TestNameOf(const Case& test_case) {
  std::string name;
  for (char c : test_case.topic + "_" + test_case.title) {
    const bool plain = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    if (plain || (!name.empty() && name.back() != '_')) name += plain ? c : '_';
  }
  while (name.ends_with('_')) name.pop_back();
  return name;
}

std::string WriteOutCopies(const std::string& text) {
  if (text.find("@@") == text.npos) return text;
  constexpr std::string_view kRepeat = "@@repeat ";
  std::string out;
  for (std::string_view line : SplitLines(text)) {
    out += line.starts_with(kRepeat) ? RepeatedLines(line.substr(kRepeat.size())) : CopiesInLine(line);
    out += '\n';
  }
  return std::string(WithoutLastLineEnds(out));
}

std::string InputBytes(const CaseText& input) {
  if (input.raw) return DecodeRaw(Joined(input.text));
  std::string bytes = ToGbk(input.text);
  if (!bytes.empty() && !input.open) bytes += '\n';
  if (input.line_ends == LineEnds::kCrLf) ReplaceAll(bytes, "\n", "\r\n");
  return bytes;
}

std::string RecordBytes(const CaseText& records) {
  if (records.raw) return DecodeRaw(Joined(records.text));
  std::string bytes;
  std::vector<std::string_view> lines;
  const auto close_record = [&] {
    if (!lines.empty()) bytes += OneRecord(lines);
    lines.clear();
  };
  for (std::string_view line : SplitLines(records.text)) {
    if (line.empty()) close_record();
    if (!line.empty()) lines.push_back(line);
  }
  close_record();
  return bytes;
}

std::string Shown(std::string_view bytes) {
  std::string shown;
  while (!bytes.empty()) shown += TakeShown(bytes);
  return shown;
}

std::string_view WithoutLastLineEnds(std::string_view text) {
  while (text.ends_with('\n')) text.remove_suffix(1);
  return text;
}

}  // namespace karst::testing
