// The environment variables of the walk: what each level's frame holds. The order in a frame is the order of a dump.
#include "marc/marctree.h"
#include "marc/recordwalk.h"

namespace karst {

EnvironmentNames::EnvironmentNames(CVarArray& table)
    : record(table.NameId("_RECORD")),
      record_count(table.NameId("_RECORDCOUNT")),
      field_count(table.NameId("_FIELDCOUNT")),
      prev_field_name(table.NameId("_PREVFIELDNAME")),
      next_field_name(table.NameId("_NEXTFIELDNAME")),
      field(table.NameId("_FIELD")),
      indicator(table.NameId("_INDICATOR")),
      field_name(table.NameId("_FIELDNAME")),
      field_dup(table.NameId("_FIELDDUP")),
      prev_subfield_name(table.NameId("_PREVSUBFIELDNAME")),
      group(table.NameId("_GROUP")),
      group_count(table.NameId("_GROUPCOUNT")),
      group_dup(table.NameId("_GROUPDUP")),
      subfield(table.NameId("_SUBFIELD")),
      subfield_name(table.NameId("_SUBFIELDNAME")),
      subfield_count(table.NameId("_SUBFIELDCOUNT")),
      subfield_dup(table.NameId("_SUBFIELDDUP")) {}

void RecordWalk::OpenRecordFrame(std::string_view record) {
  tree_.DoBegin();
  tree_.CreateTextById(names_.record, record);
  tree_.CreateIntById(names_.record_count, tree_.m_nRecordCount);
}

void RecordWalk::OpenMiddleFrame() {
  tree_.DoBegin();
  tree_.CreateIntById(names_.field_count, 0);
  tree_.CreateTextById(names_.prev_field_name, {});
  tree_.CreateTextById(names_.next_field_name, {});
}

void RecordWalk::OpenFieldFrame(std::string_view name, std::string_view indicator, std::string_view text) {
  tree_.DoBegin();
  tree_.CreateTextById(names_.field, text);
  tree_.CreateTextById(names_.indicator, indicator);
  tree_.CreateTextById(names_.field_name, name);
  tree_.CreateIntById(names_.field_dup, 0);
  tree_.CreateTextById(names_.prev_subfield_name, {});
}

void RecordWalk::OpenGroupFrame() {
  tree_.DoBegin();
  tree_.CreateTextById(names_.group, {});
  tree_.CreateIntById(names_.group_count, 0);
  tree_.CreateIntById(names_.group_dup, 0);
}

void RecordWalk::OpenSubfieldFrame() {
  tree_.DoBegin();
  tree_.CreateTextById(names_.subfield_name, {});
  tree_.CreateTextById(names_.subfield, {});
  tree_.CreateIntById(names_.subfield_dup, 0);
  tree_.CreateIntById(names_.subfield_count, 0);
}

void RecordWalk::OpenHostFrame() {
  tree_.DoBegin();
  tree_.CreateTextById(names_.field, {});
  tree_.CreateTextById(names_.indicator, {});
  tree_.CreateTextById(names_.field_name, {});
  tree_.CreateTextById(names_.prev_field_name, {});
  tree_.CreateTextById(names_.next_field_name, {});
  tree_.CreateIntById(names_.field_dup, 0);
  tree_.CreateTextById(names_.subfield_name, {});
  tree_.CreateTextById(names_.subfield, {});
  tree_.CreateTextById(names_.prev_subfield_name, {});
  tree_.CreateIntById(names_.subfield_dup, 0);
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
  walk_->OpenFieldFrame({}, {}, {});
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
