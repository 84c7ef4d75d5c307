// Fuzzes the record reader and the walks over what it gives: every byte of the input has to turn up once, the same at
// any size of the window, and a record given has to be whole in the internal form.
#include <string>

#include "records/cartulary.h"
#include "support/fuzz_input.h"
#include "support/record_run.h"

namespace {

using karst::testing::Require;

void CheckText(const std::string& text) {
  Require(text.size() > karst::kHeaderLength && text.find('\0') == std::string::npos);
  Require(text.find(karst::kRecordEnd, karst::kHeaderLength) == text.size() - 1);
  auto fields = karst::FieldCursor::OverRecord(text);
  size_t length = karst::kHeaderLength + 1;
  for (std::string_view field; fields.Next(field); length += field.size() + 1) {
    Require(field.size() >= karst::kTagLength);
    karst::SubfieldCursor subfields(field);
    for (std::string_view subfield; subfields.Next(subfield);) Require(!subfield.empty());
    auto embedded = karst::FieldCursor::OverEmbedded(field);
    for (std::string_view inner; embedded.Next(inner);) Require(inner.size() >= karst::kTagLength);
  }
  Require(length == text.size());
}

void CheckSame(const karst::testing::RecordRun& run, const karst::testing::RecordRun& other) {
  Require(run.pieces.size() == other.pieces.size());
  for (size_t i = 0; i < run.pieces.size(); ++i) {
    Require(run.pieces[i].offset == other.pieces[i].offset && run.pieces[i].bytes == other.pieces[i].bytes);
    Require(run.pieces[i].text == other.pieces[i].text);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using karst::testing::ReadAll;
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const auto run = ReadAll(bytes);
  Require(karst::testing::AccountFault(run, bytes).empty());
  for (const std::string& text : run.Texts()) CheckText(text);
  CheckSame(run, ReadAll(bytes, {.window = 1}, 7));
  Require(karst::testing::AccountFault(ReadAll(bytes, {.window = 5, .longest = 64}), bytes).empty());
  return 0;
}
