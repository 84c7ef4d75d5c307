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

// In UTF-8, as the cases are: the words around the line of a message, and that of a cell's level.
constexpr const char* kLineWords[] = {"\xE7\xAC\xAC", "\xE8\xA1\x8C"};
constexpr const char* kLevelWord = "\xE5\xB1\x82";

std::vector<std::string_view> SplitAt(std::string_view text, std::string_view mark) {
  std::vector<std::string_view> parts;
  for (size_t at; (at = text.find(mark)) != text.npos; text.remove_prefix(at + mark.size())) {
    parts.push_back(text.substr(0, at));
  }
  parts.push_back(text);
  return parts;
}

std::vector<std::string_view> SplitLines(std::string_view text) { return SplitAt(WithoutLastLineEnds(text), "\n"); }

std::string_view WithoutLastBlanks(std::string_view text) {
  while (text.ends_with(' ')) text.remove_suffix(1);
  return text;
}

// The byte of two hexadecimal digits at the head of a text, if they stand there.
std::optional<char> HexByte(std::string_view text) {
  unsigned value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + std::min<size_t>(text.size(), 2), value, 16);
  if (error != std::errc() || end != text.data() + 2) return std::nullopt;
  return static_cast<char>(value);
}

// Text as GBK; «C4E3» in it stands for these bytes.
std::string ToGbk(std::string_view utf8) {
  constexpr std::string_view kOpen = "\xC2\xAB", kClose = "\xC2\xBB";
  std::string gbk;
  size_t bad_offset = 0;
  for (bool bytes = false; !utf8.empty(); bytes = !bytes) {
    const std::string_view mark = bytes ? kClose : kOpen;
    const size_t end = std::min(utf8.find(mark), utf8.size());
    std::string part;
    if (!bytes && !Utf8ToGbk(utf8.substr(0, end), part, &bad_offset))
      throw std::runtime_error("no GBK for: " + std::string(utf8));
    for (size_t i = 0; bytes && i < end; i += 2) part += HexByte(utf8.substr(i)).value();
    gbk += part;
    utf8.remove_prefix(std::min(end + mark.size(), utf8.size()));
  }
  return gbk;
}

// Takes one escape, standing at its backslash, from the front of `text`. False if it is none of ours.
bool TakeEscape(std::string_view& text, char& byte) {
  if (text.size() < 2) return false;
  if (text[1] == 'x') {
    const std::optional<char> hex = HexByte(text.substr(2));
    byte = hex.value_or(0);
    text.remove_prefix(hex ? 4 : 0);
    return hex.has_value();
  }
  constexpr std::string_view kEscapes = "rnt\\", kBytes = "\r\n\t\\";
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

// One line of a record: "tag rest", the rest with its marks.
std::string FieldBytes(std::string_view line) {
  if (line.size() < 4 || line[3] != ' ') throw std::runtime_error("bad field: " + std::string(line));
  const bool is_control = line.starts_with("00") || line.starts_with("-0");
  std::string rest(line.substr(4));
  for (size_t i = 0; i < std::min<size_t>(rest.size(), is_control ? 0 : 2); ++i) {
    if (rest[i] == '_') rest[i] = ' ';
  }
  std::replace(rest.begin(), rest.end(), '$', kSubfieldMark);
  return ToGbk(std::string(line.substr(0, kTagLength)) + rest) + kFieldEnd;
}

// What stands between the sources of a file and holds for those that follow.
struct Surroundings {
  bool filters = false;
  std::optional<CaseText> records;
  std::vector<CaseText> files;
  std::string each;  // the text into which the rows of a table are put
  bool raw = false;  // the sources are bytes
};

constexpr std::string_view kExpectations[] = {"=>", "=!", "=result", "=bytes", "=tree", "=variables", "=finding"};

// Where an expectation begins in a line, after a blank or at its head; npos if none does.
size_t FindExpectation(std::string_view line, size_t from) {
  for (size_t at = from; (at = line.find('=', at)) != line.npos; ++at) {
    if (at > 0 && line[at - 1] != ' ') continue;
    const std::string_view word = line.substr(at, line.substr(at).find(' '));
    if (std::find(std::begin(kExpectations), std::end(kExpectations), word) != std::end(kExpectations)) return at;
  }
  return line.npos;
}

std::string WithLineEnds(std::string_view text) {
  std::string lines(text);
  ReplaceAll(lines, " // ", "\n");
  return lines;
}

// The listing of a tree from its lines of the form `Field "200" LEVEL LENGTH`.
std::string TreeListing(std::string_view cells) {
  std::string listing = "\n*********** dump MARC Tree ******************\n";
  const std::vector<std::string_view> lines = SplitLines(cells);
  for (std::string_view line : lines) {
    const size_t length = line.rfind(' '), level = line.rfind(' ', length - 1);
    const std::string depth(line.substr(level + 1, length - level - 1));
    listing += std::string(2 + 8 * std::stoul(depth), ' ') + std::string(line.substr(0, level)) + std::string(16, ' ') +
               kLevelWord + "[" + depth + "]  codelen[" + std::string(line.substr(length + 1)) + "]\n";
  }
  return listing + "****** end of dump . cell count[" + std::to_string(lines.size()) + "]********";
}

// Reads the lines of one file into cases.
class CaseFileReader {
 public:
  CaseFileReader(std::string path, std::string_view text) : path_(std::move(path)) {
    const std::filesystem::path place(path_);
    topic_ = place.parent_path().filename().string() + "_" + place.stem().string();
    for (std::string_view line : SplitLines(text)) {
      ++line_number_;
      TakeLine(line);
    }
    CloseCase();
  }

  std::vector<Case> TakeCases() { return std::move(cases_); }

 private:
  void TakeLine(std::string_view line) try {
    if (line.empty()) return;
    const bool goes_on = std::exchange(at_heading_, line.starts_with("== "));
    if (at_heading_) {
      if (!goes_on) OpenTopic(line.substr(3));
    } else if (line.starts_with("--- ")) {
      CloseCase();
      TakeSurrounding(line.substr(4));
      if (title_.empty()) everywhere_ = here_;
    } else if (!here_.each.empty() && !line.starts_with('=')) {
      for (std::string_view row : SplitAt(line, " | ")) TakeRow(row);
    } else {
      TakeSource(line);
    }
  } catch (const std::exception& error) {
    if (!open_) OpenCase();
    open_->fault += path_ + ":" + std::to_string(line_number_) + ": " + error.what() + "\n";
  }

  void OpenTopic(std::string_view heading) {
    CloseCase();
    title_ = heading.substr(0, heading.find(". "));
    here_ = everywhere_;
    own_records_ = false;
  }

  void TakeSurrounding(std::string_view line) {
    const std::string_view word = line.substr(0, line.find(' '));
    const std::string_view rest = line.substr(std::min(word.size() + 1, line.size()));
    if (word == "filters") {
      here_.filters = true;
    } else if (word == "each") {
      here_.each += (here_.each.empty() ? "" : "\n") + std::string(rest);
    } else if (word == "bytes") {
      AddNamed(here_.files, rest);
    } else if (word == "records" || word == "rawrecords") {
      TakeRecords(rest, word == "rawrecords");
    } else if (word == "raw") {
      here_.raw = true;
    } else {
      throw std::runtime_error("unknown word " + std::string(word));
    }
  }

  void TakeRecords(std::string_view line, bool raw) {
    if (!std::exchange(own_records_, true)) here_.records.reset();
    std::string text(line);
    ReplaceAll(text, " || ", "\n\n");
    text = raw ? text : WithLineEnds(text);
    if (here_.records) text = here_.records->text + "\n\n" + text;
    here_.records = CaseText{.name = "", .text = text, .raw = raw};
  }

  // Adds a file, or further lines to the last one.
  static void AddNamed(std::vector<CaseText>& files, std::string_view line) {
    const std::string name(line.substr(0, line.find(' ')));
    if (files.empty() || files.back().name != name) files.push_back({.name = name, .text = "", .raw = true});
    files.back().text += WriteOutCopies(std::string(line.substr(std::min(name.size() + 1, line.size()))));
  }

  // A row of a table: its parts go to the places {1}, {2} ... of the text, or as a whole to {}.
  void TakeRow(std::string_view row) {
    const size_t at = std::min(FindExpectation(row, 0), row.size());
    const std::string_view values = WithoutLastBlanks(row.substr(0, at));
    std::string source = here_.each;
    ReplaceAll(source, "{}", values);
    const std::vector<std::string_view> parts = SplitAt(values, "; ");
    for (size_t i = 0; i < parts.size(); ++i) ReplaceAll(source, "{" + std::to_string(i + 1) + "}", parts[i]);
    CloseCase();
    OpenCase();
    source_ = source;
    TakeExpectations(row.substr(at));
  }

  void TakeSource(std::string_view line) {
    const size_t at = std::min(FindExpectation(line, 0), line.size());
    if (at > 0) {
      if (expected_) CloseCase();
      if (!open_) OpenCase();
      const bool row = at < line.size();
      (source_ += source_.empty() ? "" : "\n") += row ? WithoutLastBlanks(line.substr(0, at)) : line;
    }
    TakeExpectations(line.substr(at));
  }

  void TakeExpectations(std::string_view text) {
    while (!text.empty()) {
      if (!open_) OpenCase();
      expected_ = true;
      const size_t next = FindExpectation(text, 1);
      const std::string_view one = next == text.npos ? text : text.substr(0, next - 1);
      const std::string_view word = one.substr(0, one.find(' '));
      Expect(word, one.substr(std::min(word.size() + 1, one.size())));
      text = next == text.npos ? "" : text.substr(next);
    }
  }

  void Expect(std::string_view word, std::string_view rest) {
    const std::string lines = WriteOutCopies(WithLineEnds(rest));
    const auto add_to = [&](std::optional<CaseText>& text) {
      if (text && !text->text.empty()) text->text += "\n";
      (text ? *text : text.emplace()).text += lines;
    };
    if (word == "=>") {
      open_->output.text += (std::exchange(has_output_, true) ? "\n" : "") + lines;
    } else if (word == "=!") {
      const size_t colon = lines.find(": ");
      if (colon == lines.npos) throw std::runtime_error("no line of the message");
      open_->error = kLineWords[0] + lines.substr(0, colon) + kLineWords[1] + lines.substr(colon);
    } else if (word == "=result") {
      open_->result = std::stoi(std::string(rest));
    } else if (word == "=tree") {
      add_to(open_->tree);
    } else if (word == "=variables") {
      add_to(open_->variables);
    } else if (word == "=finding") {
      open_->findings += std::string(rest) + "\n";
    } else {
      AddNamed(open_->expected_files, rest);
    }
  }

  void OpenCase() {
    open_.emplace();
    open_->title = title_;
    open_->topic = topic_;
    open_->place = path_ + ":" + std::to_string(line_number_);
  }

  void CloseCase() {
    if (!open_) return;
    Case& closed = cases_.emplace_back(*std::exchange(open_, std::nullopt));
    CaseText source{.name = "", .text = std::exchange(source_, ""), .raw = here_.raw};
    if (!source.raw) source.text = WriteOutCopies(WithLineEnds(source.text));
    (here_.filters || here_.records ? closed.filter : closed.script) = source;
    closed.files = here_.files;
    closed.records = here_.records;
    if (closed.tree) closed.tree->text = TreeListing(closed.tree->text);
    if (!std::exchange(expected_, false)) closed.fault += closed.place + ": nothing is expected\n";
    has_output_ = false;
  }

  std::string path_, topic_, title_;
  int line_number_ = 0;
  std::vector<Case> cases_;
  Surroundings everywhere_, here_;
  bool at_heading_ = false, own_records_ = false;
  std::optional<Case> open_;
  std::string source_;
  bool expected_ = false, has_output_ = false;
};

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
  std::vector<Case> cases = CaseFileReader(path, text.str()).TakeCases();
  if (cases.empty()) cases.emplace_back().fault = cases.back().place = path + ": holds no case";
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

std::string WriteOutCopies(std::string text) {
  constexpr std::string_view kOpen = "@@(", kClose = "@@)";
  for (size_t at; (at = text.find(kOpen)) != text.npos;) {
    const size_t star = text.find('*', at), close = text.find(kClose, at);
    if (star == text.npos || close == text.npos) throw std::runtime_error("bad copies: " + text.substr(at));
    std::string copies;
    for (int left = std::stoi(text.substr(at + kOpen.size())); left > 0; --left) {
      std::string copy = text.substr(star + 1, close - star - 1);
      ReplaceAll(copy, "{j}", std::to_string(left));
      copies += copy;
    }
    text.replace(at, close + kClose.size() - at, copies);
  }
  return text;
}

std::string InputBytes(const CaseText& input) {
  if (input.raw) return DecodeRaw(Joined(input.text));
  std::string bytes = ToGbk(input.text);
  if (!bytes.empty()) bytes += '\n';
  ReplaceAll(bytes, "\n", "\r\n");
  return bytes;
}

std::string RecordBytes(const CaseText& records) {
  if (records.raw) return DecodeRaw(Joined(records.text));
  std::string bytes;
  bool open = false;
  for (std::string_view line : SplitLines(records.text)) {
    if (!line.empty() && !open) bytes += "00000nam0 2200000   450 ";
    if (line.empty() && open) bytes += kRecordEnd;
    open = !line.empty();
    if (open) bytes += FieldBytes(line);
  }
  return open ? bytes + kRecordEnd : bytes;
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
