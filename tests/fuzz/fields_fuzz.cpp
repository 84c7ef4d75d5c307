// Reads and replaces items of a generated text: what was put in has to come out again, and nothing else may change.
//
// Input: four bytes that choose the operation, the index, the name and the room, then the text, up to the byte 0xFF the
// item to be put in, which reaches to the input's end.
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "records/cartulary.h"
#include "support/fuzz_input.h"

namespace {

using karst::testing::Require;

constexpr int kLongest = 5000;
constexpr int kChoices = 4;

enum Kind { kField, kSubfield, kGroup };

// A text under operations of one kind.
struct Text {
  Kind kind;
  std::string bytes;

  // "-" and nothing for no such item, else "+" and the item.
  std::string Read(const std::string& name, int index) const {
    std::vector<char> buf(kLongest, '?');
    int result = 0;
    switch (kind) {
      case kField:
        result = MARC_GetField(bytes.c_str(), name.c_str(), index, buf.data(), kLongest, nullptr, nullptr);
        break;
      case kSubfield:
        result = MARC_GetSubField(bytes.c_str(), name.c_str(), index, buf.data(), kLongest, nullptr);
        break;
      case kGroup: result = MARC_GetGroup(bytes.c_str(), index, buf.data(), kLongest, nullptr); break;
    }
    if (result == -1) return "-";
    Require(static_cast<size_t>(result) == std::strlen(buf.data()));
    return std::string("+") + buf.data();
  }

  bool Replace(const std::string& name, int index, const std::string& item, size_t room) {
    // The buffer is a block of its own, so that a write behind it is seen.
    std::vector<char> buf(room, '?');
    const size_t given = std::min(room, bytes.size() + 1);
    std::memcpy(buf.data(), bytes.c_str(), given);
    const std::vector<char> before = buf;
    const int size = static_cast<int>(room);
    int result = 0;
    switch (kind) {
      case kField: result = MARC_ReplaceField(buf.data(), size, name.c_str(), index, item.c_str()); break;
      case kSubfield: result = MARC_ReplaceSubField(buf.data(), size, name.c_str(), index, item.c_str()); break;
      case kGroup: result = MARC_ReplaceGroup(buf.data(), size, index, item.c_str()); break;
    }
    Require(result == 0 || result == -1);
    if (result == -1) {
      Require(buf == before);
      return false;
    }
    Require(given == bytes.size() + 1 && std::memchr(buf.data(), 0, room));
    bytes = buf.data();
    return true;
  }
};

std::vector<std::string> AllItems(const Text& text) {
  std::vector<std::string> items;
  for (int i = 0; i == 0 || items.back() != "-"; ++i) items.push_back(text.Read("", i));
  items.pop_back();
  return items;
}

std::string WithoutEndMark(std::string item) {
  if (item.size() > 1 && item.ends_with(karst::kFieldEnd)) item.pop_back();
  return item;
}

// One field, or one subfield: an item that the empty name counts as one.
bool IsOneItem(const Text& text, const std::string& item) {
  return text.kind == kField || (text.kind == kSubfield && item.find(karst::kSubfieldMark, 1) == std::string::npos);
}

// Item `index` of all: only this one has changed.
void CheckInPlace(const Text& before, const Text& after, int index, const std::string& item) {
  std::vector<std::string> expected = AllItems(before);
  const auto place = expected.begin() + index;
  if (item.empty()) {
    expected.erase(place);
  } else {
    *place = "+" + item;
  }
  Require(AllItems(after) == expected);
}

// One item more; the others in their order.
void CheckAdded(const Text& before, const Text& after, const std::string& item) {
  std::vector<std::string> left = AllItems(after);
  size_t at = left.size();
  while (at > 0 && left[at - 1] != "+" + item) --at;
  Require(at > 0);
  left.erase(left.begin() + static_cast<std::ptrdiff_t>(at) - 1);
  Require(left == AllItems(before));
}

// An item that goes in as it came out changes nothing.
void CheckPuttingBack(Text text, const std::string& name, int index) {
  const std::string item = text.Read(name, index);
  const std::string before = text.bytes;
  if (item.size() > 1 && text.Replace(name, index, item.substr(1), kLongest)) Require(text.bytes == before);
}

// A replacement leaves the bytes ahead of the item and behind it alone; so the change is one span.
void CheckOneSpan(const std::string& before, const std::string& after, const std::string& item) {
  size_t head = 0;
  while (head < before.size() && head < after.size() && before[head] == after[head]) ++head;
  size_t tail = 0;
  while (tail < before.size() - head && tail < after.size() - head &&
         before[before.size() - 1 - tail] == after[after.size() - 1 - tail]) {
    ++tail;
  }
  Require(after.size() - head - tail <= item.size() + 2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::string kNames[] = {"", "a", "*", "200", "2**", "***", "hdr", "20"};
  if (size < kChoices || size > kLongest / 4) return 0;
  const std::string_view rest(reinterpret_cast<const char*>(data) + kChoices, size - kChoices);
  const size_t cut = rest.find('\xFF');
  // Both end at their first NUL, as the library sees them.
  const std::string item(std::string(cut == rest.npos ? std::string_view() : rest.substr(cut + 1)).c_str());
  const Text before{static_cast<Kind>(data[0] % 3), std::string(rest.substr(0, cut)).c_str()};
  const int index = static_cast<int8_t>(data[1]);
  const std::string& name = kNames[data[2] % std::size(kNames)];

  CheckPuttingBack(before, name, index);
  Text after = before;
  if (!after.Replace(name, index, item, kLongest)) return 0;
  CheckOneSpan(before.bytes, after.bytes, item);
  if (name == "hdr" && before.kind == kField) {
    Require(after.Read("hdr", 0) == "+" + item);
    Require(after.bytes.substr(karst::kHeaderLength) == before.bytes.substr(karst::kHeaderLength));
  } else if (IsOneItem(before, WithoutEndMark(item))) {
    if (index == -1) {
      CheckAdded(before, after, WithoutEndMark(item));
    } else if (name.empty()) {
      CheckInPlace(before, after, index, WithoutEndMark(item));
    }
  }
  // With less room the result is the same or refused.
  Text small = before;
  const size_t room = 1 + data[3];
  if (small.Replace(name, index, item, room)) Require(small.bytes == after.bytes);
  Require((small.bytes == before.bytes) || small.bytes.size() < room);
  return 0;
}
