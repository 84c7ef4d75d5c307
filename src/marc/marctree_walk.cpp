// The walk over one record: which cells run for which field, group and subfield, in what order, and what a piece's
// result does to the rest.
//
// The record drives the walk: it goes through the fields as they stand and looks for the cells that match each.
#include <algorithm>

#include "marc/marctree.h"
#include "marc/recordwalk.h"
#include "records/marcitems.h"
#include "text/mbtext.h"

namespace karst {

namespace {

constexpr size_t kFieldFrameCells = 1 + std::size(environment::kFieldRows);  // a mark and the variables
constexpr size_t kSubfieldDataOffset = 2;                                    // behind the mark and the code

// The difference of the first two bytes that do not match, or 0; "*" on either side matches any byte.
int CompareWithAnyBytes(const char* a, const char* b, size_t count) {
  for (size_t i = 0; i < count; ++i) {
    if (a[i] == b[i] || a[i] == kAnyByte || b[i] == kAnyByte) continue;
    return static_cast<signed char>(a[i]) - static_cast<signed char>(b[i]);
  }
  return 0;
}

// A tag to match against, padded with NUL where the field is shorter.
class Tag {
 public:
  explicit Tag(std::string_view field) { field.copy(bytes_, kTagLength); }
  bool Matches(const CCell& cell) const { return CompareWithAnyBytes(bytes_, cell.szName, kTagLength) == 0; }
  bool MatchesAny(const CCell* first) const {
    for (; IsCell(first, kCellField); first = first->pNext) {
      if (Matches(*first)) return true;
    }
    return false;
  }

 private:
  char bytes_[kTagLength] = {};
};

// A NUL stands for a mark with no code behind it; such a subfield is in no set but "*".
bool CodeSetHolds(const char* set, char code) {
  if (set[0] == kAnyByte) return true;
  return code && _mbschr(set, static_cast<unsigned char>(code));
}

bool AnySetHolds(const CCell* first, char code) {
  for (; IsCell(first, kCellSubField); first = first->pNext) {
    if (CodeSetHolds(first->szName, code)) return true;
  }
  return false;
}

std::string_view From(std::string_view text, size_t offset) { return text.substr(std::min(offset, text.size())); }

// Empty for a mark with no code behind it.
std::string_view CodeTextOf(std::string_view subfield) { return From(subfield, 1).substr(0, 1); }

// What a script can be given of a text.
std::string_view Clipped(std::string_view text) {
  if (text.size() <= RecordWalk::kLongestText) return text;
  return text.substr(0, WholeCharacters(text, RecordWalk::kLongestText));
}

bool HasNoIndicators(std::string_view field) { return field.starts_with("00") || field.starts_with("-0"); }

void ClearCounts(CCell* first, CellType type) {
  for (; IsCell(first, type); first = first->pNext) first->nDupCount = 0;
}

}  // namespace

// Counts one level of embedded fields or of Common blocks for as long as it is open.
class RecordWalk::LevelGuard {
 public:
  explicit LevelGuard(RecordWalk& walk) : walk_(walk) {
    if (walk_.levels_ == kMostLevels) walk_.tree_.halt("Chain或嵌套字段嵌套太深，超过%d层...", kMostLevels);
    ++walk_.levels_;
  }
  LevelGuard(const LevelGuard&) = delete;
  LevelGuard& operator=(const LevelGuard&) = delete;
  ~LevelGuard() { --walk_.levels_; }

 private:
  RecordWalk& walk_;
};

// Keeps the variables that tell a script where the walk stands.
//
// SPEED: of several items in a row for which no code runs, only the first and the last are stored. The first, so that
// a refusal (a script may have closed the frame, or hidden a variable by one of another type) comes at the same item as
// if all were; what passes there passes for the rest, since nothing changes in between.
template <typename Place>
class RecordWalk::Announcer {
 public:
  explicit Announcer(RecordWalk& walk) : walk_(walk) {}
  void BeforeCode(const Place& place) {
    walk_.Announce(place);
    settled_ = held_ = false;
  }
  void InPassing(const Place& place) {
    if (settled_) {
      last_ = place;
    } else {
      walk_.Announce(place);
    }
    held_ = settled_;
    settled_ = true;
  }
  void Finish() {
    if (held_) walk_.Announce(last_);
  }

 private:
  RecordWalk& walk_;
  bool settled_ = false;  // stored without a refusal, and no code has run since
  bool held_ = false;     // last_ is still to be stored
  Place last_;
};

struct RecordWalk::FieldPlace {
  int index = 0;
  std::string_view prev = kHeaderName;
  std::string_view next;
};

struct RecordWalk::SubfieldPlace {
  int index = 0;
  std::string_view prev_code;
  std::string_view subfield;
};

RecordWalk::RecordWalk(CMARCTree& tree, CellStore& store)
    : tree_(tree), table_(tree), store_(store), state_(tree), names_(store) {}

// Variables.

inline void RecordWalk::SetText(NameSlot& name, std::string_view text) {
  if (CVarCell* cell = CellStore::OwnVariable(name, kText)) {
    CellStore::SetText(cell, text);
  } else {
    table_.ChangeTextById(name.number, text);
  }
}

inline void RecordWalk::SetInt(NameSlot& name, int32_t n) {
  if (CVarCell* cell = CellStore::OwnVariable(name, kInt)) {
    CellStore::SetInt(cell, n);
  } else {
    table_.ChangeIntById(name.number, n);
  }
}

// Pieces.

// Any result but 1 and -1 is a normal end.
int RecordWalk::RunPiece(CCell* cell) {
  const int result = tree_.RunPicesCode(cell);
  return result == kWalkLeft || result == kWalkFailed ? result : kWalkDone;
}

// A head that a stop request cut short counts as left: what belongs to it, such as the brace that closes its scope,
// must not run either.
int RecordWalk::RunHead(CCell* cell) {
  const int result = RunPiece(cell);
  return result == kWalkDone && state_.IsStop() ? kWalkLeft : result;
}

int RecordWalk::RunClosingCode(const CCell* parent) {
  return IsCell(parent->pLastChild, kCellFinal) ? RunPiece(parent->pLastChild) : kWalkDone;
}

inline void RecordWalk::EndLevel(int depth) {
  if (!state_.IsStop()) [[likely]]
    return CloseFrame();
  tree_.CloseFrames(depth);
}

inline void RecordWalk::CountMatch(CCell* cell, NameSlot& dup_name) { SetInt(dup_name, ++cell->nDupCount); }

// Fields.

int RecordWalk::OverFields(std::string_view text, bool nested, CCell* first) {
  if (!IsCell(first, kCellField)) return kWalkFailed;
  const LevelGuard level(*this);
  if (!nested) tree_.m_nIndicatorLen = kIndicatorLength;
  const int depth = table_.m_nBeginCount;
  OpenMiddleFrame();
  int result = nested ? kWalkDone : OverRecordHeader(text, first);
  if (result != kWalkFailed && !state_.IsStop()) result = OverEachField(text, nested, first);
  EndLevel(depth);
  if (result == kWalkFailed) return kWalkFailed;
  ClearCounts(first, kCellField);
  return kWalkDone;
}

// SPEED: with no cell for the header no code runs, and a frame that fits would come and go unseen.
int RecordWalk::OverRecordHeader(std::string_view record, CCell* first) {
  if (record.size() < kHeaderLength) return kWalkDone;
  if (!Tag(kHeaderName).MatchesAny(first) && FieldFrameFits()) return kWalkDone;
  return OverHeader(record.substr(0, kHeaderLength), FieldCursor::OverRecord(record).FollowingTag(), first);
}

int RecordWalk::OverHeader(std::string_view header, std::optional<std::string_view> next, CCell* first) {
  const int depth = table_.m_nBeginCount;
  OpenFieldFrame({kHeaderName, {}, Clipped(header)});
  SetNeighbours({}, next);
  int result = kWalkDone;
  for (CCell* cell = first; IsCell(cell, kCellField) && result == kWalkDone; cell = cell->pNext) {
    if (!Tag(kHeaderName).Matches(*cell)) continue;
    CountMatch(cell, names_[Environment::kFieldDup]);
    result = RunHead(cell);
    if (result == kWalkDone) result = RunClosingCode(cell);
  }
  EndLevel(depth);
  return result;
}

// SPEED: a field that no cell matches gets no frame, since no code would see it; and a frame that the code of one field
// left as it was made serves the next.
int RecordWalk::OverEachField(std::string_view text, bool nested, CCell* first) {
  const int depth = table_.m_nBeginCount;
  FieldCursor cursor = nested ? FieldCursor::OverEmbedded(text) : FieldCursor::OverRecord(text);
  Announcer<FieldPlace> announcer(*this);
  FieldPlace place;
  std::string_view field;
  int result = kWalkDone;
  bool frame_stands = false;
  bool frame_fits = FieldFrameFits();  // SPEED: only where code has run is the table another
  for (; result != kWalkFailed && !state_.IsStop() && cursor.Next(field); ++place.index) {
    if (!nested) place.next = cursor.FollowingTag();
    const bool matched = Tag(field).MatchesAny(first);
    if (frame_stands && !matched) {
      EndLevel(depth);
      frame_stands = false;
      frame_fits = FieldFrameFits();
    }
    if (!matched && frame_fits) {
      announcer.InPassing(place);
    } else {
      announcer.BeforeCode(place);
      const std::string_view shown = Clipped(field);
      result = OverNextField(shown, first, depth, frame_stands);
      frame_fits = FieldFrameFits();
    }
    place.prev = field.substr(0, kTagLength);
  }
  if (frame_stands) EndLevel(depth);
  announcer.Finish();
  return result;
}

void RecordWalk::Announce(const FieldPlace& place) {
  SetInt(names_[Environment::kFieldCount], place.index);
  SetNeighbours(place.prev, place.next);
}

void RecordWalk::SetNeighbours(std::string_view prev, std::optional<std::string_view> next) {
  SetText(names_[Environment::kPrevFieldName], prev);
  if (next) SetText(names_[Environment::kNextFieldName], *next);
}

// True if the table takes a field's frame without a refusal.
bool RecordWalk::FieldFrameFits() const { return table_.m_Cells.size() + kFieldFrameCells <= CVarArray::kMostCells; }

int RecordWalk::OverField(std::string_view field, size_t length, std::string_view items, CCell* first) {
  const int depth = table_.m_nBeginCount;
  OpenFieldFrame(PartsOf(field, length));
  const int result = RunFieldCells(field, items, first);
  EndLevel(depth);
  return result;
}

// One field of a record. `frame_stands` says whether the frame of the field before is still open, and afterwards
// whether this one's is. Below them are `depth` frames.
int RecordWalk::OverNextField(std::string_view field, CCell* first, int depth, bool& frame_stands) {
  const FieldParts parts = PartsOf(field, field.size());
  const size_t frame = table_.m_Cells.size() - (frame_stands ? kFieldFrameCells : 0);
  if (frame_stands) {
    RenewFieldFrame(parts);
  } else {
    OpenFieldFrame(parts);
  }
  const int result = RunFieldCells(field, field, first);
  frame_stands = result == kWalkDone && FieldFrameStands(frame);
  if (!frame_stands) EndLevel(depth);
  return result;
}

int RecordWalk::RunFieldCells(std::string_view field, std::string_view items, CCell* first) {
  const Tag tag(field);
  int result = kWalkDone;
  for (CCell* cell = first; IsCell(cell, kCellField) && !state_.IsStop() && result == kWalkDone; cell = cell->pNext) {
    if (tag.Matches(*cell)) result = RunFieldCell(items, cell);
  }
  return result;
}

static_assert(kFieldFrameCells == 6, "FieldFrameStands and RenewFieldFrame go over each variable of the frame");

// True if the table ends in a field's frame at `position`, with its variables alone, and nothing below it would be
// refused.
bool RecordWalk::FieldFrameStands(size_t position) const {
  const std::vector<CVarCell*>& cells = table_.m_Cells;
  const auto holds = [&cells](size_t place, const NameSlot& name, ValueType type) {
    return CellStore::OwnVariable(name, type) == cells[place];
  };
  return cells.size() == position + kFieldFrameCells && store_.FrameMarkSlot().newest == cells[position] &&
         holds(position + 1, names_[Environment::kField], kText) &&
         holds(position + 2, names_[Environment::kIndicator], kText) &&
         holds(position + 3, names_[Environment::kFieldName], kText) &&
         holds(position + 4, names_[Environment::kFieldDup], kInt) &&
         holds(position + 5, names_[Environment::kPrevSubFieldName], kText) &&
         CellStore::OwnVariable(names_[Environment::kFieldCount], kInt) &&
         CellStore::OwnVariable(names_[Environment::kPrevFieldName], kText) &&
         CellStore::OwnVariable(names_[Environment::kNextFieldName], kText);
}

void RecordWalk::RenewFieldFrame(const FieldParts& field) {
  SetText(names_[Environment::kField], field.text);
  SetText(names_[Environment::kIndicator], field.indicator);
  SetText(names_[Environment::kFieldName], field.name);
  SetInt(names_[Environment::kFieldDup], 0);
  SetText(names_[Environment::kPrevSubFieldName], {});
}

// `length` decides which parts the field has room for.
FieldParts RecordWalk::PartsOf(std::string_view field, size_t length) const {
  const std::string_view name = field.substr(0, kTagLength);
  const size_t least = kTagLength + static_cast<size_t>(std::max(tree_.m_nIndicatorLen, 0));
  if (length >= kTagLength && HasNoIndicators(field)) return {name, {}, From(field, kTagLength)};
  if (length < kTagLength || length < least) return {name, {}, {}};
  const std::string_view data = From(field, kTagLength);
  return {name, data.substr(0, kIndicatorLength), From(data, kIndicatorLength)};
}

int RecordWalk::RunFieldCell(std::string_view items, CCell* cell) {
  CountMatch(cell, names_[Environment::kFieldDup]);
  if (const int result = RunHead(cell); result != kWalkDone) return result;
  if (RunFieldChildren(items, cell->pFirstChild) == kWalkFailed) return kWalkFailed;
  return RunClosingCode(cell);
}

int RecordWalk::RunFieldChildren(std::string_view items, CCell* first) {
  if (!first) return kWalkDone;
  switch (first->nType) {
    case kCellSubField: return OverSubfields(items, first);
    case kCellField: return OverFields(items, true, first);
    case kCellGroup: return OverGroups(items, first);
    case kCellChain: return OverChains(items, first);
    default: return kWalkDone;
  }
}

int RecordWalk::OverChains(std::string_view text, CCell* first) {
  for (CCell* chain = first; IsCell(chain, kCellChain); chain = chain->pNext) {
    if (OverCommon(text, chain->pFirstChild) == kWalkFailed) return kWalkFailed;
  }
  return kWalkDone;
}

// Common blocks.

int RecordWalk::OverCommon(std::string_view text, CCell* common) {
  if (!common) return kWalkFailed;
  const LevelGuard level(*this);
  if (const int result = RunHead(common); result != kWalkDone) return result;
  if (!common->pFirstChild) return kWalkDone;
  if (RunCommonChildren(text, common->pFirstChild) == kWalkFailed) return kWalkFailed;
  return RunClosingCode(common);
}

int RecordWalk::RunCommonChildren(std::string_view text, CCell* first) {
  switch (first->nType) {
    case kCellSubField: return OverSubfields(text, first);
    case kCellField: return OverFields(text, true, first);
    case kCellChain: return OverCommon(text, first->pFirstChild);
    default: return kWalkDone;
  }
}

// Subfields.

int RecordWalk::OverSubfields(std::string_view text, CCell* first) {
  if (!IsCell(first, kCellSubField)) return kWalkFailed;
  if (state_.IsStop()) return kWalkDone;
  const int depth = table_.m_nBeginCount;
  OpenSubfieldFrame();
  const int result = OverEachSubfield(text, first);
  if (result != kWalkFailed) ClearCounts(first, kCellSubField);
  EndLevel(depth);
  return result;
}

int RecordWalk::OverEachSubfield(std::string_view text, CCell* first) {
  SubfieldCursor cursor = SubfieldCursor::OverUnended(text);
  Announcer<SubfieldPlace> announcer(*this);
  SubfieldPlace place;
  int result = kWalkDone;
  for (; result == kWalkDone && !state_.IsStop() && cursor.Next(place.subfield); ++place.index) {
    const char code = CodeOf(place.subfield);
    if (AnySetHolds(first, code)) {
      announcer.BeforeCode(place);
      result = RunSubfieldCells(code, first);
    } else {
      announcer.InPassing(place);
    }
    place.prev_code = CodeTextOf(place.subfield);
  }
  announcer.Finish();
  return result;
}

void RecordWalk::Announce(const SubfieldPlace& place) {
  SetText(names_[Environment::kSubField], Clipped(From(place.subfield, kSubfieldDataOffset)));
  SetText(names_[Environment::kPrevSubFieldName], place.prev_code);
  SetText(names_[Environment::kSubFieldName], CodeTextOf(place.subfield));
  SetInt(names_[Environment::kSubFieldCount], place.index);
}

int RecordWalk::RunSubfieldCells(char code, CCell* first) {
  int result = kWalkDone;
  for (CCell* cell = first; IsCell(cell, kCellSubField) && result == kWalkDone; cell = cell->pNext) {
    if (!CodeSetHolds(cell->szName, code)) continue;
    CountMatch(cell, names_[Environment::kSubFieldDup]);
    result = RunPiece(cell);
  }
  return result;
}

// Groups.

int RecordWalk::OverGroups(std::string_view text, CCell* group) {
  if (!group) return kWalkFailed;
  const int depth = table_.m_nBeginCount;
  OpenGroupFrame();
  const int result = OverEachGroup(text, group);
  if (result != kWalkFailed) group->nDupCount = 0;
  EndLevel(depth);
  return result;
}

int RecordWalk::OverEachGroup(std::string_view text, CCell* group) {
  GroupCursor cursor(SubfieldCursor::OverUnended(text));
  std::string_view group_text;
  int result = kWalkDone;
  for (int index = 0; result == kWalkDone && cursor.Next(group_text); ++index) {
    group_text = Clipped(group_text);
    SetText(names_[Environment::kGroup], group_text);
    SetInt(names_[Environment::kGroupCount], index);
    CountMatch(group, names_[Environment::kGroupDup]);
    result = OverOneGroup(group_text, group);
  }
  return result;
}

int RecordWalk::OverOneGroup(std::string_view text, CCell* group) {
  if (const int result = RunHead(group); result != kWalkDone) return result;
  if (IsCell(group->pFirstChild, kCellSubField) && OverSubfields(text, group->pFirstChild) == kWalkFailed) {
    return kWalkFailed;
  }
  return RunClosingCode(group);
}

}  // namespace karst

// The public operations, on NUL-terminated texts.

namespace {

std::string_view View(const char* text) { return text ? std::string_view(text) : std::string_view(); }

// What the walk looks for subfields in.
std::string_view Items(const char* text) { return karst::WithoutEnd(View(text)); }

std::optional<std::string_view> OptionalView(const char* text) {
  return text ? std::optional<std::string_view>(text) : std::nullopt;
}

// Sets the read position and the end limit of a piece, and takes the limit away again however the piece ends.
class PieceLimit {
 public:
  PieceLimit(CMARCTree& tree, const CCell& cell) : tree_(tree) {
    tree_.lpProg = cell.lpCode;
    tree_.lpProgEnd = cell.lpCode + cell.nCodeLen;
  }
  PieceLimit(const PieceLimit&) = delete;
  PieceLimit& operator=(const PieceLimit&) = delete;
  ~PieceLimit() { tree_.lpProgEnd = nullptr; }

 private:
  CMARCTree& tree_;
};

}  // namespace

int CMARCTree::RunMiddleTree(const char* text, int bNested, CCell* first) {
  return walk_->OverFields(View(text), bNested != 0, first);
}

int CMARCTree::ProceedHeader(const char* header, CCell* first, const char* next) {
  return walk_->OverHeader(View(header), OptionalView(next), first);
}

int CMARCTree::ProceedAField(const char* text, int len, CCell* first, const char* next, char* prev) {
  const std::string_view field = View(text);
  walk_->SetNeighbours(View(prev), OptionalView(next));
  const auto length = static_cast<size_t>(std::max(len, 0));
  const int result = walk_->OverField(field, length, karst::WithoutEnd(field), first);
  if (prev && result != karst::kWalkFailed) prev[field.copy(prev, karst::kTagLength)] = 0;
  return result;
}

int CMARCTree::ProceedAllSubfield(const char* text, CCell* first) { return walk_->OverSubfields(Items(text), first); }

int CMARCTree::RunGroup(const char* text, CCell* group) { return walk_->OverGroups(Items(text), group); }

int CMARCTree::RunCommonTree(const char* text, CCell* common) { return walk_->OverCommon(Items(text), common); }

int CMARCTree::mymemcmp(const char* a, const char* b, int n) {
  return karst::CompareWithAnyBytes(a, b, static_cast<size_t>(std::max(n, 0)));
}

int CMARCTree::ClearAllDupCountOnTree() {
  if (!m_pheadcell) return -1;
  for (CCell* cell = m_pheadcell; cell && !IsStop(); cell = karst::NextInTree(cell)) cell->nDupCount = 0;
  return 0;
}

int CMARCTree::RunPicesCode(CCell* cell) {
  if (!cell) return -1;
  if (cell->nCodeLen == 0) return 0;
  RefuseStaleTree();
  if (cell->nCodeLen == 1 && *cell->lpCode == '}') {
    DoEnd();
    return 0;
  }
  const PieceLimit limit(*this, *cell);
  return MainLoop();
}

// The tree's pieces are spans of the code that it was built from.
void CMARCTree::RefuseStaleTree() {
  if (m_pheadcell && built_generation_ != code_generation_) halt("代码已重新装入, MARC树尚未重新建立...");
}
