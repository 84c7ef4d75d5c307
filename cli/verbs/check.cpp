// The verb "check".
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <optional>

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

constexpr const char* kExamples =
    "Examples:\n"
    "  karst check *.pro *.flt\n"
    "  karst check --fix titles.flt";

struct CheckOptions {
  std::vector<std::string> files;
  Encoding encoding = Encoding::kUtf8;
  SourceReading source = SourceReading::kEvident;
  std::optional<Language> language;  // none: the locale's
  bool fix = false;                  // mend line ends and charset first
  bool warnings_are_errors = false;
  bool only_errors = false;  // no warnings, no notes, no summary
};

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
  CheckRun(const CheckOptions& options, Console& console)
      : options_(options),
        console_(console),
        language_(options.language ? *options.language : LocaleLanguage()),
        output_(STDOUT_FILENO, options.encoding, Writer::Buffering::kBlocks, &line_, RequestStop) {}

  int Run() {
    for (const std::string& name : options_.files) File(InputFile(name, options_.encoding));
    output_.Finish();
    if (output_.Failure() != 0) {
      if (EndsQuietly(output_.Failure())) return kReaderGone;
      console_.Say("cannot write standard output: " + ReasonOf(output_.Failure()));
      return kOutputFailed;
    }
    if (!options_.only_errors) Summary();
    if (trouble_) return kWrongUsage;
    return errors_ > 0 || (options_.warnings_are_errors && warnings_ > 0) ? 1 : 0;
  }

 private:
  void File(const InputFile& file) {
    std::string bytes;
    const std::string reason = file.Read(bytes);
    if (!reason.empty()) return Trouble("cannot read " + file.Shown() + ": " + reason);
    if (options_.fix && !Fix(file, bytes)) return;
    const auto checked = check::CheckSource(bytes, check::KindOf(file.Shown(), bytes), options_.source);
    Show(file, checked.findings, checked.text);
  }

  // Mends the file; `bytes` are then its new ones. False if it was left as it was because it could not be mended.
  bool Fix(const InputFile& file, std::string& bytes) {
    const check::MendedSource mended = check::Mend(bytes);
    if (mended.open_literal) {
      console_.Say(file.Shown() + ": left as it was: a literal is not closed");
      return true;  // the check shows where
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
      if (options_.only_errors && finding.severity != Severity::kError) continue;
      const auto place = places.Find(finding.offset);
      output_.WriteRaw(file.Shown() + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + ": ");
      output_.WriteRaw(Encoded(check::LineOf(finding, language_) + "\n"));
    }
  }

  std::string Encoded(const std::string& utf8) const {
    return options_.encoding == Encoding::kGbk ? ToGbk(utf8) : utf8;
  }

  void Summary() {
    const std::string files = Counted(options_.files.size(), "file");
    console_.Say(files + " checked: " + Counted(errors_, "error") + ", " + Counted(warnings_, "warning"));
  }

  void Trouble(const std::string& text) {
    console_.Say(text);
    trouble_ = true;
  }

  const CheckOptions& options_;
  Console& console_;
  Language language_;
  LineState line_;
  Writer output_;
  size_t errors_ = 0;
  size_t warnings_ = 0;
  bool trouble_ = false;
};

class CheckVerb : public Verb {
 public:
  CheckVerb() : Verb("check", "Look for mistakes in scripts and filters, without running them", kExamples) {}

  void Declare(OptionList& list, CommonOptions& common) override {
    list.Words("FILE", "Scripts (.pro) and filters (.flt)", options_.files);
    AddEncoding(list, common);
    AddSource(list, options_.source);
    list.Flag("--fix", "Mend line ends and charset in the files themselves first", options_.fix);
    list.Choice<std::optional<Language>>("--lang", "Language of the findings (default: the locale's)",
                                         {{"zh", Language::kChinese}, {"en", Language::kEnglish}}, options_.language);
    list.Flag("--werror", "Warnings count as errors in the exit status", options_.warnings_are_errors);
    list.Flag("-q,--quiet", "Errors only, and no summary", options_.only_errors);
  }

  int Run(const CommonOptions& common) override {
    options_.encoding = common.TextEncoding();
    Console console({common.messages, {options_.encoding, options_.files}, {}});
    return RunToEnd(console, [&] { return CheckRun(options_, console).Run(); });
  }

 private:
  CheckOptions options_;
};

}  // namespace

std::unique_ptr<Verb> MakeCheckVerb() { return std::make_unique<CheckVerb>(); }

}  // namespace karst::cli
