// CMARCTree: a filter: its source, the tree laid over it, and the walk over records.
#pragma once

#include <cstdint>
#include <memory>

#include "marc/cellstack.h"
#include "records/cartulary.h"
#include "script/script.h"

// Runs a filter file over a file of records. Both names are GBK; `hWnd` is the host's output control or null. -1 on
// failure (after "\r\n第%d行: %s" on the host's output where a script error was the cause), else the last stage's
// result, 0 after a full run. A file of records that cannot be read to its end is a failure too: the filter runs over
// the records that came, its Final code included; then "\r\n文件'%s'读取失败, 只读到%d条记录..." is written, and the
// result is -1.
KARST_API int RunKarstMARCTree(const char* lpszFltFile, const char* lpszMARCFile, HWND hWnd);

namespace karst {
class RecordWalk;
}  // namespace karst

class KARST_API CMARCTree : public CScript {
 public:
  using ProgressFunction = int (*)(void* argument);

  CMARCTree();
  ~CMARCTree() override;

  // Building, from the loaded code. The tree is valid as long as that code is: after another load it must be built
  // anew, and until then every run of a piece is refused by halt.
  //
  // 0, the value of a "stop" met between blocks, or -1 (with a message on the host's output) if no code is loaded. A
  // fault of the filter is a CError. A stop request ends the building early, with 0. After either there is no tree.
  int BuildMARCTree();
  // Hangs a cell, which the tree owns from here on, under the newest cell of m_CellStack, or at top level.
  int JointToTree(CCell* cell);
  // Frees the tree. 0, or -1 if there is none.
  int FreeAllCellOnTree();
  // The Common block of that name, the last one in the file where there are several; null if there is none.
  CCell* FindCommon(const char* name);
  // Points each Chain to its Common block; halts if there is none.
  int PrepareChainTarget();
  // The block makers: each is entered behind the block's word, adds a cell and moves over its piece. 0; DoFinal gives
  // 1 when it reached the end of the code.
  int DoRoot();
  int DoRecord();
  int DoField();
  int DoGroup();
  int DoSubField();
  int DoCommon();
  int DoChain();
  int DoFinal();
  // Moves to the next block word or, with `bOneBlock`, behind the brace that closes the current block. 0.
  int SkipUtilNextCommand(int bOneBlock);
  // Moves to the next block word or behind the brace that closes the enclosing block. 0.
  int SkipToParentCommand();

  // The walk over one record. Unless told otherwise: 0 for a normal end, 1 for a walk that a "break" left early, -1 for
  // failure ("stop -1", or a tree of the wrong shape). Texts are NUL-terminated; what is longer than 99,999 bytes is
  // handed to scripts cut at a whole character.
  //
  // LIMIT: embedded fields and Common blocks nest RecordWalk::kMostLevels deep; a walk that goes deeper halts.

  // Runs a cell's piece and gives the main loop's result; -1 for null, 0 for an empty piece.
  int RunPicesCode(CCell* cell);
  // Runs the Record cell `first`, and those right behind it, over all records of the stream. The result of the last
  // NextRecord or piece: 1 at a normal end of the data.
  int RunRecord(CCell* first, CMARCStream* stream);
  // Walks the fields of a record or, with `bNested`, those embedded in a field, against a run of Field cells. 0 or -1.
  int RunMiddleTree(const char* text, int bNested, CCell* first);
  // The header as the field "hdr". `next` (may be null) is the first field's tag.
  int ProceedHeader(const char* header, CCell* first, const char* next);
  // One field. `next` (may be null) and `prev` are the tags behind and ahead of it; `prev`, 4 bytes (may be null),
  // gets this field's tag unless the walk fails.
  int ProceedAField(const char* text, int len, CCell* first, const char* next, char* prev);
  int ProceedAllSubfield(const char* text, CCell* first);
  int RunGroup(const char* text, CCell* group);
  int RunCommonTree(const char* text, CCell* common);
  // Compares `n` bytes; "*" on either side matches any byte. 0, or the difference of the first two that do not match.
  int mymemcmp(const char* a, const char* b, int n);
  // 0, or -1 if there is no tree.
  int ClearAllDupCountOnTree();

  // The environment variables: each Initial opens a scope and makes the variables of one level, with empty values but
  // for those of a record; each End closes the newest scope. All give 0.
  int InitialRecordVars(const char* record);
  int EndRecordVars();
  int InitialMiddleVars();
  int EndMiddleVars();
  int InitialFieldVars();
  int EndFieldVars();
  int InitialGroupVars();
  int EndGroupVars();
  int InitialSubFieldVars();
  int EndSubFieldVars();
  // For a host that runs pieces outside a walk.
  int InitialEnvVars();
  int EndEnvVars();

  // Whole runs of the built tree. Each clears the match counts, withdraws a stop request that was there when it was
  // called and, at a normal end, drops the variables that the run added. 0; -1 for a null argument, without a tree
  // (with a message on the host's output) or when the source cannot be opened. A filter without a Record block is run
  // by the old-style twin, in which -1 is also what a "stop -1" gives, and a file that cannot be opened is a CError.
  //
  // The result says nothing of how the records ended: a source that fails ends them as its end does, the Final code
  // runs, and the result is 0. ReadFailed says which it was.
  int RunWholeTree(const char* lpszMARCFile);
  int RunMARCTree(CMARCStream* stream);
  int RunWholeTreeOldStyle(const char* lpszMARCFile);
  int RunMARCTreeOldStyle(CMARCStream* stream);
  // RunMARCTree in steps, for a host that deals the records out to several objects: RunUntilRecords starts a run and
  // goes through the top-level cells ahead of the first Record cell, which it gives; null if there is none, or after a
  // stop request. Then RunRecord, in this object or in others; then RunBehindRecords, which ends the run. They are for
  // the present style alone, with a tree that was built. What an error in between leaves open stays: such an object is
  // for no further run.
  CCell* RunUntilRecords();
  void RunBehindRecords();
  // True if the last run's records ended because they could not be read on (NextRecord gave -1) and not because there
  // were no more.
  bool ReadFailed() const { return read_failed_; }
  // The piece's result; -1 is told on the host's output.
  int RunRootStart(CCell* cell);
  // The piece's result.
  int RunRootFinal(CCell* cell);

  // After an error. A run that a CError ends leaves its scopes open: their cells stay in the variable table,
  // m_nBeginCount counts them, and the next run begins inside them. It serves its records all the same, but what is
  // left adds up from error to error until the table is full. So a host whose object lives on calls CloseAfterError
  // ahead of the next run, or runs its records by RunOneOfMany.
  //
  // Drops everything that earlier runs left in the table and sets m_nBeginCount to the frames that are left, those of
  // the host. The host's variables stay, also those made since the error. Not for the inside of a run. 0.
  int CloseAfterError();
  // RunMARCTree, as one run of many: of all such runs that ended by an error, the table holds at most what the last
  // one left open, so that it does not grow. Leftovers that fill half of the table are dropped before the run.
  int RunOneOfMany(CMARCStream* stream);

  // Lists the tree, or a piece, on the host's output. 0, or -1 if there is nothing to list or no memory.
  int DumpMARCTree();
  int DumpPicesCode(CCell* cell);
  // Writes a piece in readable form to a file, in place of whatever it held. 0, or -1 for a null argument.
  int DumpPicesCode(CCell* cell, const char* lpszFileName);

  CCell* m_pheadcell = nullptr;  // first and last top-level cell
  CCell* m_ptailcell = nullptr;
  CCellStack m_CellStack;
  CCell* m_pcurcell = nullptr;  // the cell whose code is being scanned
  int32_t m_bOldStyle = 0;      // 1: the filter has no Record block
  int32_t m_nIndicatorLen = 2;
  int32_t m_nRecordCount = 0;  // records finished so far
  uint32_t m_nStreamSize = 0;  // as the record stream reports them
  uint32_t m_nStreamPos = 0;
  ProgressFunction m_pfnProgress = nullptr;  // called ahead of each record of a file, with m_pProgressArg
  void* m_pProgressArg = nullptr;

  // Gets whatever a record file holds that is no record, during the runs over files.
  void OnSkippedRecord(karst::SkippedRecordHandler handler);
  // The file that is being run over, or the one that was run over last, until the next run; null if none was opened.
  const CMARCFile* RecordFile() const { return record_file_.get(); }

 private:
  friend class karst::RecordWalk;

  // Steps of the building.
  int BuildCells();
  void DropTree();
  int MakeBlock(karst::CellType type);

  // Steps of the runs.
  void RefuseStaleTree();
  bool HasTree();
  void StartRun();
  void CloseRun();
  int TakeRecord(CMARCStream* stream, CString& record);
  void EndRecord(int frames);
  bool MakeRecordFile(const char* no_memory);
  bool OpenRecordFile(const char* name);
  void ReportProgress(const CMARCStream* stream);
  int RunTopLevel(CMARCStream* stream);
  void RunTopLevelCell(CCell* cell);
  bool RunRecordCells(CCell* first, const char* record, int& result);
  bool RunRecordCell(CCell* cell, const char* record, int& result);
  int RunOldStyle(CMARCStream* stream, bool reporting);
  int RunOldStyleRecord(const char* record);

  std::unique_ptr<karst::RecordWalk> walk_;
  uint32_t built_generation_ = 0;  // the code that the tree was built from
  int variables_before_ = 0;       // the size of the table when the run began
  int frames_before_ = 0;          // and its open frames
  bool read_failed_ = false;
  std::unique_ptr<CMARCFile> record_file_;
  karst::SkippedRecordHandler skipped_handler_;
};
