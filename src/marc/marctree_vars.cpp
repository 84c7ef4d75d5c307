// The environment variables of the walk: what each level's frame holds. The order in a frame is the order of a dump.
#include "marc/marctree.h"
#include "marc/recordwalk.h"

namespace karst {

EnvironmentNames::EnvironmentNames(CellStore& store)
    : record(store.SlotOf("_RECORD")),
      record_count(store.SlotOf("_RECORDCOUNT")),
      field_count(store.SlotOf("_FIELDCOUNT")),
      prev_field_name(store.SlotOf("_PREVFIELDNAME")),
      next_field_name(store.SlotOf("_NEXTFIELDNAME")),
      field(store.SlotOf("_FIELD")),
      indicator(store.SlotOf("_INDICATOR")),
      field_name(store.SlotOf("_FIELDNAME")),
      field_dup(store.SlotOf("_FIELDDUP")),
      prev_subfield_name(store.SlotOf("_PREVSUBFIELDNAME")),
      group(store.SlotOf("_GROUP")),
      group_count(store.SlotOf("_GROUPCOUNT")),
      group_dup(store.SlotOf("_GROUPDUP")),
      subfield(store.SlotOf("_SUBFIELD")),
      subfield_name(store.SlotOf("_SUBFIELDNAME")),
      subfield_count(store.SlotOf("_SUBFIELDCOUNT")),
      subfield_dup(store.SlotOf("_SUBFIELDDUP")) {}

void RecordWalk::OpenFrame() {
  if (!store_.OpenFrameQuickly(table_.m_Cells, table_.m_nBeginCount)) tree_.DoBegin();
}

void RecordWalk::CloseFrame() {
  if (!store_.CloseFrame(table_.m_Cells, table_.m_nBeginCount)) tree_.DoEnd();  // refuses
}

// A frame is open, so that every name is free.
inline CVarCell* RecordWalk::NewVariable(NameSlot& name) {
  if (table_.m_Cells.size() >= static_cast<size_t>(CVarArray::kMostCells)) return nullptr;
  return store_.AppendReady(table_.m_Cells, name);
}

inline void RecordWalk::MakeText(NameSlot& name, std::string_view text) {
  if (CVarCell* cell = NewVariable(name)) {
    CellStore::SetText(cell, text);
  } else {
    table_.CreateTextById(name.number, text);
  }
}

inline void RecordWalk::MakeInt(NameSlot& name, int32_t n) {
  if (CVarCell* cell = NewVariable(name)) {
    CellStore::SetInt(cell, n);
  } else {
    table_.CreateIntById(name.number, n);
  }
}

void RecordWalk::OpenRecordFrame(std::string_view record) {
  OpenFrame();
  MakeText(names_.record, record);
  MakeInt(names_.record_count, tree_.m_nRecordCount);
}

void RecordWalk::OpenMiddleFrame() {
  OpenFrame();
  MakeInt(names_.field_count, 0);
  MakeText(names_.prev_field_name, {});
  MakeText(names_.next_field_name, {});
}

void RecordWalk::OpenFieldFrame(const FieldParts& field) {
  OpenFrame();
  MakeText(names_.field, field.text);
  MakeText(names_.indicator, field.indicator);
  MakeText(names_.field_name, field.name);
  MakeInt(names_.field_dup, 0);
  MakeText(names_.prev_subfield_name, {});
}

void RecordWalk::OpenGroupFrame() {
  OpenFrame();
  MakeText(names_.group, {});
  MakeInt(names_.group_count, 0);
  MakeInt(names_.group_dup, 0);
}

void RecordWalk::OpenSubfieldFrame() {
  OpenFrame();
  MakeText(names_.subfield_name, {});
  MakeText(names_.subfield, {});
  MakeInt(names_.subfield_dup, 0);
  MakeInt(names_.subfield_count, 0);
}

void RecordWalk::OpenHostFrame() {
  OpenFrame();
  MakeText(names_.field, {});
  MakeText(names_.indicator, {});
  MakeText(names_.field_name, {});
  MakeText(names_.prev_field_name, {});
  MakeText(names_.next_field_name, {});
  MakeInt(names_.field_dup, 0);
  MakeText(names_.subfield_name, {});
  MakeText(names_.subfield, {});
  MakeText(names_.prev_subfield_name, {});
  MakeInt(names_.subfield_dup, 0);
}

}  // namespace karst

int CMARCTree::InitialRecordVars(const char* record) {
  walk_->OpenRecordFrame(record ? record : "");
  return 0;
}

int CMARCTree::InitialMiddleVars() {
  walk_->OpenMiddleFrame();
  return 0;
}

int CMARCTree::InitialFieldVars() {
  walk_->OpenFieldFrame({});
  return 0;
}

int CMARCTree::InitialGroupVars() {
  walk_->OpenGroupFrame();
  return 0;
}

int CMARCTree::InitialSubFieldVars() {
  walk_->OpenSubfieldFrame();
  return 0;
}

int CMARCTree::InitialEnvVars() {
  walk_->OpenHostFrame();
  return 0;
}

int CMARCTree::EndRecordVars() {
  DoEnd();
  return 0;
}

int CMARCTree::EndMiddleVars() {
  DoEnd();
  return 0;
}

int CMARCTree::EndFieldVars() {
  DoEnd();
  return 0;
}

int CMARCTree::EndGroupVars() {
  DoEnd();
  return 0;
}

int CMARCTree::EndSubFieldVars() {
  DoEnd();
  return 0;
}

int CMARCTree::EndEnvVars() {
  DoEnd();
  return 0;
}
