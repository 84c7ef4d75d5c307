// RecordWalk: the walk of a filter tree over one record. CMARCTree's operations on texts are thin wrappers around it.
//
// The walk works on views into the record text and copies nothing but what goes into environment variables. Frames are
// opened and closed by hand, not by guards: an error of the script leaves them as they stand.
//
// A stop request may come at any moment. From then on no level opens and no piece begins; the piece that it cut short
// has left frames open, so each level that ends closes all that were opened since its own. SPEED: the walk only looks
// at the run state, and does not count its levels there: a count that no request may get lost in costs a locked
// instruction each time.
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "marc/cellstack.h"
#include "marc/environment.h"
#include "values/cellstore.h"

class CMARCTree;

namespace karst {

// What a piece or a level of the walk comes to.
enum WalkResult : int {
  kWalkFailed = -1,
  kWalkDone = 0,
  kWalkLeft = 1,
};

// The environment variables' names in a tree's table.
class EnvironmentNames {
 public:
  explicit EnvironmentNames(CellStore& store);
  NameSlot& operator[](Environment variable) const { return *slots_[static_cast<size_t>(variable)]; }

 private:
  NameSlot* slots_[kEnvironmentSize] = {};
};

// What a field's frame holds of it.
struct FieldParts {
  std::string_view name, indicator, text;
};

class RecordWalk {
 public:
  // LIMIT: embedded fields and Common blocks nest this deep. A level takes less than 1 KiB of the machine's stack.
  static constexpr int kMostLevels = 500;
  // LIMIT: the longest text that a script gets; a longer one is cut at a whole character.
  static constexpr size_t kLongestText = 99999;
  static constexpr size_t kIndicatorLength = 2;

  RecordWalk(CMARCTree& tree, CellStore& store);

  int OverFields(std::string_view text, bool nested, CCell* first);
  int OverHeader(std::string_view header, std::optional<std::string_view> next, CCell* first);
  // `items` is the field without what stands behind an end mark: its subfields, groups and embedded fields. So are the
  // texts of the operations below.
  int OverField(std::string_view field, size_t length, std::string_view items, CCell* first);
  int OverSubfields(std::string_view text, CCell* first);
  int OverGroups(std::string_view text, CCell* group);
  int OverCommon(std::string_view text, CCell* common);

  void OpenRecordFrame(std::string_view record);
  void OpenMiddleFrame();
  void OpenFieldFrame(const FieldParts& field);
  void OpenGroupFrame();
  void OpenSubfieldFrame();
  void OpenHostFrame();

  // The tags of the fields ahead and behind; without a `next` that variable stays as it is.
  void SetNeighbours(std::string_view prev, std::optional<std::string_view> next);

 private:
  class LevelGuard;
  struct FieldPlace;
  struct SubfieldPlace;
  template <typename Place>
  class Announcer;

  int OverRecordHeader(std::string_view record, CCell* first);
  int OverEachField(std::string_view text, bool nested, CCell* first);
  int OverEachSubfield(std::string_view text, CCell* first);
  int OverEachGroup(std::string_view text, CCell* group);
  int OverOneGroup(std::string_view text, CCell* group);
  int OverChains(std::string_view text, CCell* first);
  int OverNextField(std::string_view field, CCell* first, int depth, bool& frame_stands);
  FieldParts PartsOf(std::string_view field, size_t length) const;
  bool FieldFrameStands(size_t position) const;
  void RenewFieldFrame(const FieldParts& field);
  int RunFieldCells(std::string_view field, std::string_view items, CCell* first);
  int RunFieldCell(std::string_view items, CCell* cell);
  int RunFieldChildren(std::string_view items, CCell* first);
  int RunCommonChildren(std::string_view text, CCell* first);
  int RunSubfieldCells(char code, CCell* first);
  int RunPiece(CCell* cell);
  int RunHead(CCell* cell);
  int RunClosingCode(const CCell* parent);
  void CountMatch(CCell* cell, NameSlot& dup_name);
  bool FieldFrameFits() const;
  void Announce(const FieldPlace& place);
  void Announce(const SubfieldPlace& place);

  // The variable table's operations. SPEED: what needs no memory and cannot fail is done here.
  void OpenFrame();
  void CloseFrame();
  // Ends a level that began with `depth` frames: closes its frame, after a stop request also those of cut pieces.
  void EndLevel(int depth);
  // `texts` are for the level's first texts, `number` is for its numbers.
  template <EnvironmentLevel level>
  void OpenLevel(const std::array<std::string_view, 3>& texts = {}, int32_t number = 0);
  void MakeText(NameSlot& name, std::string_view text);
  void MakeInt(NameSlot& name, int32_t n);
  CVarCell* NewVariable(NameSlot& name);
  void SetText(NameSlot& name, std::string_view text);
  void SetInt(NameSlot& name, int32_t n);

  CMARCTree& tree_;
  CVarArray& table_;
  CellStore& store_;
  CRunable& state_;  // SPEED: the tree's run state, found once and not through its virtual base at each poll
  EnvironmentNames names_;
  int levels_ = 0;  // embedded walks and Common blocks that are open
};

}  // namespace karst
