// The built-ins of the statistics tables. A handle, row, column or key that names nothing is a result, and leaves the
// variables as they are.
#include "builtins/args.h"
#include "builtins/table.h"

namespace karst::builtin {
namespace {

constexpr int kDone = 0;
constexpr int kFailed = -1;

int ResultOf(int done) { return done ? kDone : kFailed; }

}  // namespace

// DBCreate (columns): the handle of a new table, or -1.
void DBCreate(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("DBCreate"));
  result->SetVal(self->m_statisDB.Create(args.Int(1)));
}

// DBDestroy (handle): 1, or 0 if the handle names no table.
void DBDestroy(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("DBDestroy"));
  result->SetVal(self->m_statisDB.Destroy(args.Int(1)));
}

// DBWrite (handle, key, column, value, text = ""): 0, or -1.
void DBWrite(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("DBWrite"));
  const int32_t handle = args.Int(1);
  const CString& key = args.Text(2);
  const int32_t column = args.Int(3);
  const int32_t value = args.Int(4);
  if (argc > 5) self->halt("DBWrite()函数应当为4或5个参数");
  const std::string_view text = argc == 5 ? args.Text(5).view() : std::string_view();
  result->SetVal(ResultOf(self->m_statisDB.Write(handle, key.view(), column, value, text)));
}

// DBRead (handle, row, &key, column, &value, &text): 0, or -1. The text may be left out.
void DBRead(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("DBRead"));
  const int32_t handle = args.Int(1);
  const int32_t row = args.Int(2);
  args.TextRef(3);
  const int32_t column = args.Int(4);
  args.IntRef(5);
  if (argc > 6) self->halt("DBRead()函数应当为5或6个参数");
  if (argc == 6) args.TextRef(6);
  CString key, text;
  int64_t value = 0;
  const int done = self->m_statisDB.Read(handle, row, key, column, value, text);
  result->SetVal(ResultOf(done));
  if (!done) return;
  args.SetText(3, key.view());
  args.SetInt(5, value);
  if (argc == 6) args.SetText(6, text.view());
}

// DBSearch (handle, key, column, &value, &text): the row's number, or -1. The text may be left out. With the empty key
// the number of rows; the value's argument then may be anything and stays as it is.
void DBSearch(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("DBSearch"));
  const int32_t handle = args.Int(1);
  const CString& key = args.Text(2);
  const int32_t column = args.Int(3);
  const bool wants_value = !key.IsEmpty();
  if (wants_value) {
    args.IntRef(4);
  } else {
    args.Cell(4);
  }
  if (argc > 5) self->halt("DBSearch()函数应当为4或5个参数");
  if (argc == 5) args.TextRef(5);
  CString text;
  int64_t value = 0;
  int row = kFailed;
  const int done = self->m_statisDB.Search(handle, key.view(), column, value, text, row);
  result->SetVal(done ? row : kFailed);
  if (!done) return;
  if (wants_value) args.SetInt(4, value);
  if (argc == 5) args.SetText(5, text.view());
}

// DBDelete (handle, row or key): 0, also where there is no such row; -1 if the handle names no table. Row -1 and the
// empty key are all rows.
void DBDelete(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("DBDelete"));
  const int32_t handle = args.Int(1);
  result->SetVal(kFailed);
  switch (args.Cell(2)->leixing) {
    case kInt:
    case kInt64: result->SetVal(ResultOf(self->m_statisDB.DeleteByRow(handle, args.Int(2)))); break;
    case kText: result->SetVal(ResultOf(self->m_statisDB.DeleteByKey(handle, args.Text(2).view()))); break;
    default: break;
  }
}

// DBSort (handle, columns, order): 0, or -1.
void DBSort(CFuncArray* self, int argc, int first, CValue* result) {
  Arguments args(self, argc, first, BuiltinRow("DBSort"));
  const int32_t handle = args.Int(1);
  const CString& columns = args.Text(2);
  result->SetVal(ResultOf(self->m_statisDB.Sort(handle, columns, args.Text(3))));
}

}  // namespace karst::builtin
