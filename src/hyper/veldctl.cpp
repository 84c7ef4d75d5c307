// The hypertext control: its messages, the rendering of a page, the commands of links and forms.
#include "hyper/veldctl.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "platform/files.h"
#include "text/charset.h"
#include "text/mbtext.h"
#include "text/percent.h"

namespace karst {
namespace {

constexpr std::string_view kScheme = "karst:";
constexpr std::string_view kOpen = "{{";
constexpr std::string_view kClose = "}}";
constexpr std::string_view kQueryMarks = "&=?#%+";

bool IsControlCharacter(char byte) {
  const auto value = static_cast<unsigned char>(byte);
  return value < 0x20 || value == 0x7F;
}

bool IsPlain(char byte) {
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') ||
         static_cast<unsigned char>(byte) >= 0x80;
}

std::string_view TextOrEmpty(const char* text) { return text ? text : ""; }

void AppendReference(std::string& text, char32_t code) { ((text += "&#") += std::to_string(code)) += ';'; }

std::string Escaped(std::string_view value) {
  std::string escaped;
  for (std::string_view rest = value; !rest.empty();) {
    const DecodedCharacter character = DecodeGbk(rest);
    if (character.code == kNoCharacter) {
      escaped += '?';  // half a character would take a byte of the page with it
    } else if (character.length == 1 && !IsPlain(rest[0])) {
      AppendReference(escaped, character.code);
    } else {
      escaped += rest.substr(0, character.length);
    }
    rest.remove_prefix(character.length);
  }
  return escaped;
}

// The name between the braces at the head of `text`; empty if that is no place of a macro.
std::string_view NameInBraces(std::string_view text) {
  if (!text.starts_with(kOpen)) return {};
  text.remove_prefix(kOpen.size());
  size_t length = 0;
  while (length < text.size() && !text.substr(length).starts_with(kClose)) {
    if (IsControlCharacter(text[length]) || text[length] == '{') return {};
    length += DecodeGbk(text.substr(length)).length;
  }
  return length < text.size() ? text.substr(0, length) : std::string_view();
}

std::string WithMacros(std::string_view page, const VeldMacros& macros) {
  std::string shown;
  while (!page.empty()) {
    const std::string_view name = NameInBraces(page);
    const auto macro = name.empty() ? macros.end() : macros.find(name);
    if (macro != macros.end()) {
      shown += Escaped(macro->second.value);
      page.remove_prefix(kOpen.size() + name.size() + kClose.size());
      continue;
    }
    const size_t length = DecodeGbk(page).length;
    shown += page.substr(0, length);
    page.remove_prefix(length);
  }
  return shown;
}

std::string UnreadablePage(std::string_view name) {
  return "<!DOCTYPE html><html lang=\"zh\"><title>无法显示</title><body><h2>无法显示文件</h2><p>" + Escaped(name) +
         "</p></body></html>";
}

std::optional<std::string> ReadPage(const char* name) {
  const FileHandle file = OpenForReading(name);
  if (file == kNoFile) return std::nullopt;
  std::string bytes;
  const int64_t size = FileSize(file);
  const bool fits = size >= 0 && size <= VeldControl::kMostPageBytes;
  if (fits) bytes.resize(static_cast<size_t>(size));
  const int64_t count = fits ? ReadFile(file, bytes.data(), bytes.size()) : -1;
  CloseFile(file);
  if (count < 0) return std::nullopt;
  bytes.resize(static_cast<size_t>(count));
  return bytes;
}

std::string FolderOf(const char* name) {
  const std::string path = ToFileSystemName(name);
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

MessageLong CopyToBuffer(const std::string& text, char* buffer, int64_t capacity) {
  if (buffer == nullptr || capacity <= 0) return 0;
  const auto room = static_cast<size_t>(capacity) - 1;
  _mbsnbcpy(buffer, text.c_str(), std::min(room, text.size()));
  buffer[std::min(room, text.size())] = 0;
  return static_cast<MessageLong>(std::strlen(buffer));
}

// What stands after the scheme; nothing for a target of another scheme.
std::optional<std::string_view> CommandOf(std::string_view target) {
  if (!EqualIgnoringCase(target.substr(0, kScheme.size()), kScheme)) return std::nullopt;
  return target.substr(kScheme.size());
}

// A part of a query. The bytes that are escaped are never the second one of a character.
void AppendQueryPart(std::string& query, std::string_view part) {
  for (const char byte : part) {
    if (kQueryMarks.find(byte) == std::string_view::npos && !IsControlCharacter(byte)) {
      query += byte;
      continue;
    }
    CString escape;
    AppendPercentEscape(escape, byte);
    query += escape.view();
  }
}

// Texts go on as C strings: they end at a NUL.
std::string_view UpToNul(std::string_view text) { return text.substr(0, text.find('\0')); }

}  // namespace

MessageLong VeldControl::OnMessage(unsigned message, MessageWord w, MessageLong l) {
  switch (message) {
    case kCreate: Created(*reinterpret_cast<const Creation*>(l)); return 0;
    case kGetCommand: return CopyToBuffer(command_, reinterpret_cast<char*>(l), static_cast<int64_t>(w));
    case kShowFile: return ShowFile(reinterpret_cast<const char*>(l));
    case kSetMacro: return l ? SetMacro(*reinterpret_cast<const MacroSetting*>(l)) : -1;
    case kPrint: return Print();
    case kGetMacro: return l ? GetMacro(*reinterpret_cast<const MacroRequest*>(l)) : -1;
    case kUserCommand: Report(std::string(TextOrEmpty(reinterpret_cast<const char*>(l))), kCommandReady); return 0;
    default: return 0;
  }
}

void VeldControl::Created(const Creation& creation) {
  self_ = creation.self;
  frame_ = creation.plan->parent;
  if (view_) view_->OnCreated(*this);
}

void VeldControl::Report(std::string command, int code) {
  command_ = std::move(command);
  const auto what = static_cast<MessageWord>(kHyperControlId | code << 16);
  SendMessage(frame_, kCommand, what, reinterpret_cast<MessageLong>(self_));
}

MessageLong VeldControl::ShowFile(const char* name) {
  const std::string shown_name(TextOrEmpty(name));
  std::optional<std::string> bytes = ReadPage(shown_name.c_str());
  const bool read = bytes.has_value();
  file_bytes_ = read ? std::move(*bytes) : UnreadablePage(shown_name);
  folder_ = read ? FolderOf(shown_name.c_str()) : "";
  ++page_number_;
  if (view_) view_->OnPage(*this);
  return read ? 0 : -1;
}

MessageLong VeldControl::SetMacro(const MacroSetting& macro) {
  const std::string_view name = TextOrEmpty(macro.name);
  if (name.empty()) return -1;
  macros_[std::string(name)] = {std::string(TextOrEmpty(macro.value)), ++settings_};
  if (view_) view_->OnPage(*this);
  return 0;
}

MessageLong VeldControl::GetMacro(const MacroRequest& wanted) const {
  const auto macro = macros_.find(TextOrEmpty(wanted.name));
  if (macro == macros_.end()) return -1;
  return CopyToBuffer(macro->second.value, wanted.buffer, wanted.room);
}

MessageLong VeldControl::Print() {
  if (page_number_ == 0) return -1;
  if (view_) view_->OnPrint(*this);
  return 0;
}

std::string VeldControl::Page() const { return WithMacros(file_bytes_, macros_); }

bool VeldControl::FollowLink(std::string_view target) {
  const std::optional<std::string_view> command = CommandOf(UpToNul(target));
  if (command) Report(std::string(*command), kCommandReady);
  return command.has_value();
}

bool VeldControl::SendForm(std::string_view target, const std::vector<VeldField>& fields) {
  const std::optional<std::string_view> head = CommandOf(UpToNul(target));
  if (!head) return false;
  std::string command(*head);
  char separator = command.find('?') == std::string::npos ? '?' : '&';
  for (const VeldField& field : fields) {
    command += separator;
    separator = '&';
    AppendQueryPart(command, UpToNul(field.name));
    command += '=';
    AppendQueryPart(command, UpToNul(field.value));
  }
  Report(std::move(command), kOtherCommandReady);
  return true;
}

void VeldControl::EnterField(std::string_view name, std::string_view value) {
  if (name.empty()) return;
  const auto known = macros_.find(name);
  if (known != macros_.end()) {
    known->second.value = UpToNul(value);
  } else if (macros_.size() < kMostMacros) {
    macros_[std::string(name)].value = UpToNul(value);
  }
}

std::string GbkWithReferences(std::string_view utf8) {
  std::string gbk;
  std::string part;
  while (!utf8.empty()) {
    size_t bad = 0;
    const bool whole = Utf8ToGbk(utf8, part, &bad);
    gbk += part;
    if (whole) break;
    utf8.remove_prefix(bad);
    const DecodedCharacter lost = DecodeUtf8(utf8);
    if (lost.code == kNoCharacter) {
      gbk += '?';
    } else {
      AppendReference(gbk, lost.code);
    }
    utf8.remove_prefix(lost.length);
  }
  return gbk;
}

}  // namespace karst
