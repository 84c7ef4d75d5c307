// The verb "check".
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "cli/base/exit_status.h"
#include "cli/base/input_file.h"
#include "cli/base/stop_request.h"
#include "cli/base/writer.h"
#include "cli/check/check.h"
#include "cli/check/fix.h"
#include "cli/check/replace_file.h"
#include "cli/verbs/verbs.h"

namespace karst::cli {
namespace {

using check::Finding;
using check::Language;
using check::Severity;

// The first of the variables that decide the language of messages and is set.
Language LocaleLanguage() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value && *value) return std::strncmp(value, "zh", 2) == 0 ? Language::kChinese : Language::kEnglish;
  }
  return Language::kEnglish;
}

std::string Counted(size_t count, const char* thing) {
  return std::to_string(count) + " " + thing + (count == 1 ? "" : "s");
}

class CheckRun {
 public:
  CheckRun(const Options& options, Console& console)
      : options_(options),
        console_(console),
        language_(options.check.language.empty()   ? LocaleLanguage()
                  : options.check.language == "zh" ? Language::kChinese
                                                   : Language::kEnglish),
        output_(STDOUT_FILENO, options.encoding, Writer::Buffering::kBlocks, &line_, RequestStop) {}

  int Run() {
    for (const std::string& name : options_.check.files) File(InputFile(name, options_.encoding));
    output_.Finish();
    if (output_.Failure() != 0) {
      if (EndsQuietly(output_.Failure(), options_)) return kReaderGone;
      console_.Say("cannot write standard output: " + ReasonOf(output_.Failure()));
      return kOutputFailed;
    }
    if (!options_.check.only_errors) Summary();
    if (trouble_) return kWrongUsage;
    return errors_ > 0 || (options_.check.warnings_are_errors && warnings_ > 0) ? 1 : 0;
  }

 private:
  void File(const InputFile& file) {
    std::string bytes;
    const std::string reason = file.Read(bytes);
    if (!reason.empty()) return Trouble("cannot read " + file.Shown() + ": " + reason);
    if (options_.check.fix && !Fix(file, bytes)) return;
    const auto checked = check::CheckSource(bytes, check::KindOf(file.Shown(), bytes), options_.source);
    Show(file, checked.findings, checked.text);
  }

  // Mends the file; `bytes` are then its new ones. False if it was left as it was because it could not be mended.
  bool Fix(const InputFile& file, std::string& bytes) {
    const check::MendedSource mended = check::Mend(bytes);
    if (mended.open_literal) {
      console_.Say(file.Shown() + ": left as it was: a literal is not closed");
      return true;  // the check tells where
    }
    if (mended.Refused()) {
      console_.Say(file.Shown() + ": left as it was");
      Show(file, mended.findings, mended.text);
      return false;
    }
    if (!mended.Changed()) return true;
    const std::string fault = check::ReplaceFile(file.ForSystem(), mended.bytes);
    if (!fault.empty()) {
      Trouble("cannot write " + file.Shown() + ": " + fault);
      return false;
    }
    bytes = mended.bytes;
    if (mended.line_ends > 0) console_.Say(file.Shown() + ": " + Counted(mended.line_ends, "line end") + " mended");
    if (mended.converted) console_.Say(file.Shown() + ": converted from UTF-8 to GBK");
    return true;
  }

  void Show(const InputFile& file, const check::Findings& findings, const SourceText& text) {
    PlaceFinder places(text);
    for (const Finding& finding : findings.Sorted()) {
      errors_ += finding.severity == Severity::kError;
      warnings_ += finding.severity == Severity::kWarning;
      if (options_.check.only_errors && finding.severity != Severity::kError) continue;
      const auto place = places.Find(finding.offset);
      output_.WriteRaw(file.Shown() + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + ": ");
      output_.WriteRaw(Encoded(check::LineOf(finding, language_) + "\n"));
    }
  }

  std::string Encoded(const std::string& utf8) const {
    return options_.encoding == Encoding::kGbk ? ToGbk(utf8) : utf8;
  }

  void Summary() {
    const std::string files = Counted(options_.check.files.size(), "file");
    console_.Say(files + " checked: " + Counted(errors_, "error") + ", " + Counted(warnings_, "warning"));
  }

  void Trouble(const std::string& text) {
    console_.Say(text);
    trouble_ = true;
  }

  const Options& options_;
  Console& console_;
  Language language_;
  LineState line_;
  Writer output_;
  size_t errors_ = 0;
  size_t warnings_ = 0;
  bool trouble_ = false;
};

}  // namespace

int CheckSources(const Options& options, Console& console) { return CheckRun(options, console).Run(); }

}  // namespace karst::cli
