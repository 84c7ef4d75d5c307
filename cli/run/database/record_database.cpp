// RecordDatabase: one reading, one index for each place asked for. RecordDatabases: the callback and its faults.
#include "cli/run/database/record_database.h"

#include <algorithm>

#include "cli/base/exit_status.h"
#include "cli/base/stop_request.h"
#include "cli/records/record_input.h"

namespace karst::cli {
namespace {

// The callback carries no pointer, so it finds the databases here.
RecordDatabases* the_databases = nullptr;

[[noreturn]] void RefuseOption(const std::string& option, const std::string& fault) {
  throw HostError(kWrongUsage, "--database " + option + ": " + fault);
}

}  // namespace

RecordDatabase::RecordDatabase(const std::string& name, const std::string& file, const DatabaseOptions& options)
    : name_(name), file_(file, options.encoding), charset_(options.charset) {
  const std::string reason = file_.WhyUnreadable();
  if (!reason.empty()) RefuseOption(name + "=" + file, "cannot read " + file + ": " + reason);
}

bool RecordDatabase::Find(const RecordQuery& query, std::vector<char>& record, Console& console) {
  const std::lock_guard lock(mutex_);
  if (!records_ && !Load(console)) return false;
  const KeyIndex* index = IndexOf(query.place);
  const uint32_t number = index ? index->Find(query.text) : KeyIndex::kNone;
  if (number == KeyIndex::kNone) return false;
  records_->Read(number, record);
  return true;
}

bool RecordDatabase::Load(Console& console) {
  RecordInput file({.charset = charset_});
  if (file.Open(file_.ForLibrary()) == -1) {
    throw std::runtime_error("cannot read " + file_.Shown() + (file.Failure().empty() ? "" : ": " + file.Failure()));
  }
  RecordSpool records;
  int result = 0;
  for (CString record; (result = file.NextRecord(record)) == 0 || result == 2;) {
    if (StopRequested()) return false;
    if (result == 0) records.Add(record.view());
  }
  records.Finish();
  if (result == -1) {
    all_read_ = false;
    console.Say("database " + name_ + ": " + file_.Shown() + " cannot be read behind byte " +
                std::to_string(file.BytePosition()) + ": " + file.Failure());
  }
  if (file.SkippedCount() > 0) {
    console.Say("database " + name_ + ": records read: " + std::to_string(file.RecordCount()) + ", passed over: " +
                std::to_string(file.SkippedCount()) + ", bytes in these: " + std::to_string(file.SkippedBytes()));
  }
  records_ = std::move(records);
  return true;
}

const KeyIndex* RecordDatabase::IndexOf(const std::string& place) {
  const auto known = indexes_.find(place);
  if (known != indexes_.end()) return &known->second;
  KeyIndex index;
  std::vector<char> buffer;
  for (uint32_t number = 0; number < records_->Count(); ++number) {
    if (StopRequested()) return nullptr;
    ForEachKey(records_->Read(number, buffer), place, [&](std::string_view key) { index.Add(key, number); });
  }
  return &indexes_.emplace(place, std::move(index)).first->second;
}

std::string FileOfDatabase(const std::string& option) { return option.substr(option.find('=') + 1); }

RecordDatabases::RecordDatabases(const DatabaseOptions& options) {
  for (const std::string& option : options.files) {
    const std::string name = option.substr(0, option.find('='));
    std::string gbk_name = name;
    if (options.encoding == Encoding::kUtf8 && !ToGbk(name, gbk_name)) {
      RefuseOption(option, "no script can write this name: it is not in GBK");
    }
    auto& database = databases_[gbk_name];
    if (database) RefuseOption(option, "the name is given twice");
    database = std::make_unique<RecordDatabase>(name, FileOfDatabase(option), options);
  }
  the_databases = this;
}

RecordDatabases::~RecordDatabases() { the_databases = nullptr; }

bool RecordDatabases::AllRead() const {
  return failed_.empty() && std::ranges::all_of(databases_, [](const auto& one) { return one.second->AllRead(); });
}

int32_t RecordDatabases::Fetch(const char* name, const char* query, std::vector<char>* record, uint32_t, CString*) {
  if (!the_databases || !the_databases->console_) return -1;
  return the_databases->FetchOne(name, query, *record);
}

int32_t RecordDatabases::FetchOne(std::string_view name, std::string_view query, std::vector<char>& record) {
  const auto database = databases_.find(name);
  if (database == databases_.end()) return Refuse("unknown", name, "unknown (no --database has this name)");
  // Not tried again: the next look-up would read the whole file only to fail once more.
  if (const std::string failure = FailureOf(name); !failure.empty()) return Refuse("failed", name, failure);
  const auto read = ReadQuery(query);
  if (!read) {
    return Refuse("unreadable", name, "\"" + console_->Displayed(query) + "\" is no TAG=text or TAG$code=text");
  }
  // The engine is told by the result alone: nothing is thrown through it.
  try {
    return database->second->Find(*read, record, *console_) ? 0 : -1;
  } catch (const std::exception& error) {
    const std::lock_guard lock(failed_mutex_);
    failed_.emplace(name, error.what());
    return Refuse("failed", name, error.what());
  }
}

std::string RecordDatabases::FailureOf(std::string_view name) {
  const std::lock_guard lock(failed_mutex_);
  const auto failed = failed_.find(name);
  return failed == failed_.end() ? "" : failed->second;
}

int32_t RecordDatabases::Refuse(std::string_view kind, std::string_view name, const std::string& fault) {
  const std::string key = std::string(kind) + " " + std::string(name);
  console_->SayOnce(key, "database " + console_->Displayed(name) + ": " + fault);
  return -1;
}

}  // namespace karst::cli
