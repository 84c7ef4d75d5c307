// The files of records that scripts look up by name.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "builtins/funcarray.h"
#include "cli/base/console.h"
#include "cli/base/input_file.h"
#include "cli/records/record_format.h"
#include "cli/run/database/key_index.h"
#include "cli/run/database/record_query.h"
#include "cli/run/database/record_spool.h"

namespace karst::cli {

struct DatabaseOptions {
  Encoding encoding = Encoding::kUtf8;           // of the names
  std::vector<std::string> files;                // "NAME=FILE" each, neither part empty
  RecordCharset charset = RecordCharset::kAuto;  // of the records; kAuto: found out for each
};

// The file of an option "NAME=FILE".
std::string FileOfDatabase(const std::string& option);

// One file. It is read at the first look-up, once, so that it may be a pipe; and what a script does to it later does
// not change the answers. For each tag or subfield asked for, the records are indexed once; a look-up after that costs
// the same in a file of any size. Stretches that are no record are passed over. Any thread may look up.
class RecordDatabase {
 public:
  // HostError if the file cannot be read.
  RecordDatabase(const std::string& name, const std::string& file, const DatabaseOptions& options);

  // Puts the first record that matches, as NUL-terminated text, at the start of `record`, which grows if need be. False
  // if there is none, or if the run is to stop. `console` gets what the reading has to tell. std::exception if the
  // records cannot be kept.
  bool Find(const RecordQuery& query, std::vector<char>& record, Console& console);
  // False if the file was looked into and broke off, which was told.
  bool AllRead() const { return all_read_; }

 private:
  bool Load(Console& console);
  // Null if the run is to stop.
  const KeyIndex* IndexOf(const std::string& place);

  std::string name_;
  InputFile file_;
  RecordCharset charset_;
  std::mutex mutex_;                    // for all below
  std::optional<RecordSpool> records_;  // empty until the file was read to its end
  std::map<std::string, KeyIndex, std::less<>> indexes_;
  bool all_read_ = true;
};

// All of them: what the engine's look-ups reach. One for the whole process.
class RecordDatabases {
 public:
  // HostError for a name that is given twice or that GBK lacks, and for a file that cannot be read.
  explicit RecordDatabases(const DatabaseOptions& options);
  RecordDatabases(const RecordDatabases&) = delete;
  RecordDatabases& operator=(const RecordDatabases&) = delete;
  ~RecordDatabases();

  // Where faults are told; until then look-ups find nothing.
  void TellOn(Console& console) { console_ = &console; }

  // False if a file that was asked could not be read to its end, which was told: look-ups may have missed a record.
  // After the run.
  bool AllRead() const;

  // Makes these databases answer an engine object. Also where there are none: a look-up is then answered with -1.
  static void Connect(CFuncArray& engine) { engine.GetRcdCallBack = Fetch; }

 private:
  static int32_t Fetch(const char* name, const char* query, std::vector<char>* record, uint32_t, CString*);
  int32_t FetchOne(std::string_view name, std::string_view query, std::vector<char>& record);
  // Says it, once for each name and kind of fault: a script asks in a loop. Gives -1.
  int32_t Refuse(std::string_view kind, std::string_view name, const std::string& fault);
  // Why the database could not be read, empty if it could.
  std::string FailureOf(std::string_view name);

  std::map<std::string, std::unique_ptr<RecordDatabase>, std::less<>> databases_;  // by name in GBK
  Console* console_ = nullptr;
  std::mutex failed_mutex_;
  std::map<std::string, std::string, std::less<>> failed_;  // why these databases cannot be used
};

}  // namespace karst::cli
