// The built-ins that read and replace items of a MARC text. What an item is, and where it stands, is the record
// library's affair alone.
#include <algorithm>
#include <cstring>

#include "builtins/args.h"
#include "builtins/table.h"
#include "records/cartulary.h"

namespace karst::builtin {
namespace {

// LIMIT: the room for a text, its NUL included. A longer item is read up to here, cut at a whole character; a text that
// would not fit before or after a replacement is refused with -1.
constexpr size_t kRoom = 100000;

// Room for `wanted` bytes, kRoom at most, in the interpreter's working text.
//
// SPEED: no item is longer than the text that it stands in, and no text grows by more than what is put in and two end
// marks. So the library never sees that the room is less than kRoom.
struct WorkingBuffer {
  WorkingBuffer(CFuncArray* self, size_t wanted)
      : work(self), size(static_cast<int>(std::min(wanted, kRoom))), bytes(work->Extend(static_cast<size_t>(size))) {}

  WorkText work;
  int size;
  char* bytes;
};

// Runs a reading function of the library over `text`; what it finds goes to argument `target`.
template <typename Get>
void ReadItem(CFuncArray* self, Arguments& args, const CString& text, int target, CValue* result, Get get) {
  WorkingBuffer buffer(self, text.size() + 1);
  const int found = get(buffer.bytes, buffer.size);
  if (found != -1) args.SetText(target, buffer.bytes);
  result->SetVal(found);
}

// Runs a replacing function of the library on a copy of argument 1, which gets the copy unless that failed.
template <typename Replace>
void ReplaceItem(CFuncArray* self, Arguments& args, const CString& text, const CString& item, CValue* result,
                 Replace replace) {
  result->SetVal(-1);
  if (text.size() >= kRoom) return;
  WorkingBuffer buffer(self, text.size() + item.size() + 3);
  std::memcpy(buffer.bytes, text.c_str(), text.size() + 1);
  const int replaced = replace(buffer.bytes, buffer.size);
  if (replaced != -1) args.SetText(1, buffer.bytes);
  result->SetVal(replaced);
}

}  // namespace

// GetFld (record, name, index, &field): the field's length, or -1.
void GetFld(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("GetFld"));
  const CString& record = args.Text(1);
  const CString& name = args.Text(2);
  const int32_t index = args.Int(3);
  args.TextRef(4);
  ReadItem(self, args, record, 4, result,
           [&](char* buf, int size) { return MARC_GetField(record, name, index, buf, size, nullptr, nullptr); });
}

// GetGroup (field, index, &group): the group's length, or -1.
void GetGroup(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("GetGroup"));
  const CString& field = args.Text(1);
  const int32_t index = args.Int(2);
  args.TextRef(3);
  ReadItem(self, args, field, 3, result,
           [&](char* buf, int size) { return MARC_GetGroup(field, index, buf, size, nullptr); });
}

// GetSubFld (text, name, index, &subfield): the subfield's length, or -1.
void GetSubFld(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("GetSubFld"));
  const CString& text = args.Text(1);
  const CString& name = args.Text(2);
  const int32_t index = args.Int(3);
  args.TextRef(4);
  ReadItem(self, args, text, 4, result,
           [&](char* buf, int size) { return MARC_GetSubField(text, name, index, buf, size, nullptr); });
}

// RplcFld (&record, name, index, field): 0, or -1.
void RplcFld(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("RplcFld"));
  const CString& record = args.TextRef(1);
  const CString& name = args.Text(2);
  const int32_t index = args.Int(3);
  const CString& field = args.Text(4);
  ReplaceItem(self, args, record, field, result,
              [&](char* buf, int size) { return MARC_ReplaceField(buf, size, name, index, field); });
}

// RplcGroup (&field, index, group): 0, or -1.
void RplcGroup(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("RplcGroup"));
  const CString& field = args.TextRef(1);
  const int32_t index = args.Int(2);
  const CString& group = args.Text(3);
  ReplaceItem(self, args, field, group, result,
              [&](char* buf, int size) { return MARC_ReplaceGroup(buf, size, index, group); });
}

// RplcSubFld (&text, name, index, subfield): 0, or -1.
void RplcSubFld(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("RplcSubFld"));
  const CString& text = args.TextRef(1);
  const CString& name = args.Text(2);
  const int32_t index = args.Int(3);
  const CString& subfield = args.Text(4);
  ReplaceItem(self, args, text, subfield, result,
              [&](char* buf, int size) { return MARC_ReplaceSubField(buf, size, name, index, subfield); });
}

}  // namespace karst::builtin
