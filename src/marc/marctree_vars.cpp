// The environment variables of the walk: what each level's frame holds. The order in a frame is the order of a dump.
#include "marc/marctree.h"
#include "marc/recordwalk.h"

namespace karst {

EnvironmentNames::EnvironmentNames(CellStore& store) {
  for (const auto level : environment::kLevels) {
    for (const auto& [variable, name, type] : level) slots_[static_cast<size_t>(variable)] = &store.SlotOf(name);
  }
}

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

template <EnvironmentLevel level>
inline void RecordWalk::OpenLevel(const std::array<std::string_view, 3>& texts, int32_t number) {
  OpenFrame();
  size_t next_text = 0;
// SPEED: one after the other, so that each variable's type and slot are settled while compiling.
#pragma GCC unroll 8
  for (const auto& [variable, name, type] : VariablesOf(level)) {
    if (type == kInt) {
      MakeInt(names_[variable], number);
    } else {
      MakeText(names_[variable], next_text < texts.size() ? texts[next_text++] : std::string_view());
    }
  }
}

void RecordWalk::OpenRecordFrame(std::string_view record) {
  OpenLevel<EnvironmentLevel::kRecord>({record}, tree_.m_nRecordCount);
}

void RecordWalk::OpenMiddleFrame() { OpenLevel<EnvironmentLevel::kMiddle>(); }

void RecordWalk::OpenFieldFrame(const FieldParts& field) {
  OpenLevel<EnvironmentLevel::kField>({field.text, field.indicator, field.name});
}

void RecordWalk::OpenGroupFrame() { OpenLevel<EnvironmentLevel::kGroup>(); }

void RecordWalk::OpenSubfieldFrame() { OpenLevel<EnvironmentLevel::kSubField>(); }

void RecordWalk::OpenHostFrame() {
  using enum Environment;
  OpenFrame();
  for (const Environment variable : {kField, kIndicator, kFieldName, kPrevFieldName, kNextFieldName, kFieldDup,
                                     kSubFieldName, kSubField, kPrevSubFieldName, kSubFieldDup}) {
    if (TypeOf(variable) == kInt) {
      MakeInt(names_[variable], 0);
    } else {
      MakeText(names_[variable], {});
    }
  }
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
