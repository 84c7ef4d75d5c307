// The command line: verbs, options, help.
#include "cli/verbs/options.h"

#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <new>
#include <sstream>
#include <thread>

#include "cli/base/exit_status.h"
#include "cli/base/nearest_word.h"
#include "cli/base/stop_request.h"
#include "cli/base/writer.h"
#include "cli/verbs/record_verbs.h"

namespace karst::cli {
namespace {

constexpr const char* kExamples =
    "Examples:\n"
    "  karst run count.pro\n"
    "  karst filter titles.flt books.mrc more.mrc > titles.txt\n"
    "  karst tree titles.flt\n"
    "  karst convert books.iso books.xml\n"
    "\n"
    "The exit status is the low 8 bits of the run's result (a failed run is 255); 2 is wrong usage,\n"
    "71 no memory, 74 output that could not be written, 130 a run ended by Ctrl-C, 141 a reader of\n"
    "standard output that was gone. For the verbs around records, 1 says that something was passed over.\n"
    "See also: karst VERB --help, man karst.";

constexpr const char* kRunExample =
    "Examples:\n"
    "  karst run --messages stderr count.pro > counts.txt\n"
    "  karst run --database authors=authors.mrc check.pro";

constexpr const char* kFilterExample =
    "Examples:\n"
    "  karst filter --messages stderr --rejects bad.mrc titles.flt books.mrc > titles.txt\n"
    "  zcat books.mrc.gz | karst filter titles.flt -\n"
    "  karst filter --jobs auto --output-charset utf-8 checks.flt books.xml";

constexpr const char* kTreeExample =
    "Example:\n"
    "  karst tree titles.flt";

constexpr const char* kCheckExample =
    "Examples:\n"
    "  karst check *.pro *.flt\n"
    "  karst check --fix titles.flt";

// What the parser fills in, ahead of its turning into Options.
struct RawOptions {
  Options options;
  std::string encoding;
  std::string progress = "auto";
  std::string jobs = "1";
  std::string records_charset = "auto";
  std::string output_charset = "auto";
  std::string windows = "browser";
  std::string source = "auto";
};

void AddEncoding(CLI::App& app, RawOptions& raw) {
  app.add_option("--encoding", raw.encoding,
                 "Encoding of standard output, standard error and file names (default: the locale's)")
      ->check(CLI::IsMember({"utf-8", "gbk"}, CLI::ignore_case))
      ->type_name("utf-8|gbk")
      ->option_text("utf-8|gbk");
}

void AddCommonOptions(CLI::App& app, RawOptions& raw) {
  AddEncoding(app, raw);
  app.add_option("--messages", raw.options.messages, "Where the output control goes (default: stdout)")
      ->option_text("stdout|stderr|FILE");
}

// The empty text if the option has the form that Options::databases promises.
std::string FaultOfDatabase(const std::string& option) {
  const size_t sign = option.find('=');
  const bool good = sign != std::string::npos && sign > 0 && sign + 1 < option.size();
  return good ? "" : option + " is not of the form NAME=FILE";
}

void AddDatabases(CLI::App& app, RawOptions& raw) {
  app.add_option("--database", raw.options.databases,
                 "Make a file of records known to ZebGetRcd under a name; may be given several times")
      ->check(CLI::Validator(FaultOfDatabase, ""))
      ->option_text("NAME=FILE")
      ->allow_extra_args(false);
}

void AddRecordsCharset(CLI::App& app, RawOptions& raw) {
  app.add_option("--records-charset", raw.records_charset, "Charset of record files (default: found out)")
      ->check(CLI::IsMember({"gbk", "utf-8", "auto"}, CLI::ignore_case))
      ->option_text("gbk|utf-8|auto");
}

void AddWindows(CLI::App& app, RawOptions& raw) {
  app.add_option("--windows", raw.windows,
                 "Where windows that a script opens are shown (default: browser, as pages in the user's browser)")
      ->check(CLI::IsMember({"browser", "memory", "none"}))
      ->option_text("browser|memory|none");
}

void AddSource(CLI::App& app, RawOptions& raw) {
  app.add_option("--source", raw.source,
                 "How scripts and filters are read: as what they evidently are, or byte by byte")
      ->check(CLI::IsMember({"auto", "as-is"}))
      ->option_text("auto|as-is");
}

void AddRun(CLI::App& app, RawOptions& raw) {
  CLI::App* run = app.add_subcommand("run", "Run a script");
  run->add_option("SCRIPT", raw.options.program, "The script (.pro)")->required()->option_text(" ");
  AddCommonOptions(*run, raw);
  AddSource(*run, raw);
  AddDatabases(*run, raw);
  AddRecordsCharset(*run, raw);
  AddWindows(*run, raw);
  run->footer(kRunExample);
  run->callback([&raw] { raw.options.verb = Verb::kRun; });
}

void AddOutputCharset(CLI::App& filter, RawOptions& raw) {
  filter
      .add_option("--output-charset", raw.output_charset,
                  "Charset of what fnprintf and FnCat write (default: as it is)")
      ->check(CLI::IsMember({"gbk", "utf-8"}, CLI::ignore_case))
      ->option_text("gbk|utf-8");
}

// LIMIT: so many threads at most.
constexpr unsigned kMostJobs = 64;
static_assert(kMostJobs < kMostEngines, "each thread has an engine, beside the first one");

// 0 if the text is no number of threads.
int JobsOf(const std::string& text) {
  if (text == "auto") return static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, kMostJobs));
  unsigned jobs = 0;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), jobs);
  const bool good = fault == std::errc() && end == text.data() + text.size() && jobs <= kMostJobs;
  return good ? static_cast<int>(jobs) : 0;
}

void AddJobs(CLI::App& filter, RawOptions& raw) {
  const auto fault = [](const std::string& text) {
    return JobsOf(text) > 0 ? "" : text + " is no number from 1 to " + std::to_string(kMostJobs);
  };
  filter.add_option("-j,--jobs", raw.jobs, "Run the records, which the filter must not tie together, on N threads")
      ->check(CLI::Validator(fault, ""))
      ->option_text("N|auto");
}

void AddFilter(CLI::App& app, RawOptions& raw) {
  CLI::App* filter = app.add_subcommand("filter", "Run a filter over files of records");
  filter->add_option("FILTER", raw.options.program, "The filter (.flt)")->required()->option_text(" ");
  filter->add_option("RECORDS", raw.options.records, "Record files, each a run of its own; - is standard input")
      ->required()
      ->option_text(" ");
  AddCommonOptions(*filter, raw);
  AddSource(*filter, raw);
  AddDatabases(*filter, raw);
  AddRecordsCharset(*filter, raw);
  AddOutputCharset(*filter, raw);
  AddWindows(*filter, raw);
  filter->add_option("--progress", raw.progress, "Show progress on standard error (default: auto, on a terminal)")
      ->check(CLI::IsMember({"always", "never", "auto"}))
      ->option_text("always|never|auto");
  filter->add_option("--rejects", raw.options.rejects, "Keep the raw bytes of what is no record in FILE")
      ->option_text("FILE");
  AddJobs(*filter, raw);
  filter->add_flag("--strict", raw.options.strict, "Exit status 1 if something was passed over as no record");
  filter->add_flag("-q,--quiet", raw.options.quiet, "No progress, and no summary unless something was passed over");
  filter->footer(kFilterExample);
  filter->callback([&raw] { raw.options.verb = Verb::kFilter; });
}

void AddTree(CLI::App& app, RawOptions& raw) {
  CLI::App* tree = app.add_subcommand("tree", "Show the tree of a filter");
  tree->add_option("FILTER", raw.options.program, "The filter (.flt)")->required()->option_text(" ");
  AddCommonOptions(*tree, raw);
  AddSource(*tree, raw);
  tree->footer(kTreeExample);
  tree->callback([&raw] { raw.options.verb = Verb::kTree; });
}

void AddCheck(CLI::App& app, RawOptions& raw) {
  CheckOptions& options = raw.options.check;
  CLI::App* check = app.add_subcommand("check", "Look for mistakes in scripts and filters, without running them");
  check->add_option("FILE", options.files, "Scripts (.pro) and filters (.flt)")->required()->option_text(" ");
  AddEncoding(*check, raw);
  AddSource(*check, raw);
  check->add_flag("--fix", options.fix, "Mend line ends and charset in the files themselves first");
  check->add_option("--lang", options.language, "Language of the findings (default: the locale's)")
      ->check(CLI::IsMember({"zh", "en"}))
      ->option_text("zh|en");
  check->add_flag("--werror", options.warnings_are_errors, "Warnings count as errors in the exit status");
  check->add_flag("-q,--quiet", options.only_errors, "Errors only, and no summary");
  check->footer(kCheckExample);
  check->callback([&raw] { raw.options.verb = Verb::kCheck; });
}

Options Finished(RawOptions& raw) {
  Options options = std::move(raw.options);
  options.encoding = raw.encoding.empty() ? LocaleEncoding() : EncodingByName(raw.encoding);
  options.jobs = JobsOf(raw.jobs);
  options.records_charset = *CharsetByName(raw.records_charset);
  options.output_charset = *CharsetByName(raw.output_charset);
  if (raw.progress == "always") options.progress = ProgressMode::kAlways;
  if (raw.progress == "never" || options.quiet) options.progress = ProgressMode::kNever;
  if (raw.windows == "memory") options.windows = WindowsMode::kMemory;
  if (raw.windows == "none") options.windows = WindowsMode::kNone;
  if (raw.source == "as-is") options.source = SourceReading::kAsIs;
  return options;
}

// The parser makes its texts with streams, and a stream that has no memory goes on without what it was given. So the
// failure of an allocation is noted where it happens.
class AllocationWatch {
 public:
  AllocationWatch() : before_(std::set_new_handler(Note)) { failed_ = false; }
  AllocationWatch(const AllocationWatch&) = delete;
  AllocationWatch& operator=(const AllocationWatch&) = delete;
  ~AllocationWatch() { std::set_new_handler(before_); }
  // std::bad_alloc if one has failed.
  static void Check() {
    if (failed_) throw std::bad_alloc();
  }

 private:
  [[noreturn]] static void Note() {
    failed_ = true;
    throw std::bad_alloc();
  }

  static inline bool failed_ = false;
  std::new_handler before_;
};

// Help or the version.
int ShowAnswer(const CLI::App& app, const CLI::Success& answer) {
  std::ostringstream text;
  app.exit(answer, text, text);
  AllocationWatch::Check();
  const int fault = WriteAll(STDOUT_FILENO, text.str());
  if (fault == 0) return 0;
  std::fprintf(stderr, "karst: cannot write standard output: %s\n", ReasonOf(fault).c_str());
  return kOutputFailed;
}

std::vector<std::string> NamesOfVerbs(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* verb : app.get_subcommands({})) names.push_back(verb->get_name());
  return names;
}

std::vector<std::string> NamesOfOptions(const CLI::App& verb) {
  std::vector<std::string> names;
  for (const CLI::Option* option : verb.get_options()) {
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  }
  return names;
}

// What is not known, and what was most likely meant by it.
std::string Unknown(const std::string& word, const std::string& kind, const std::vector<std::string>& names) {
  const std::string near = NearestOf(word, names);
  return word + " is no " + kind + (near.empty() ? "" : "; did you mean " + near + "?");
}

std::string FaultOf(const CLI::App& app, const CLI::ParseError& error) {
  const auto chosen = app.get_subcommands();
  const CLI::App& place = chosen.empty() ? app : *chosen.front();
  const std::vector<std::string> left = place.remaining();
  const auto option =
      std::find_if(left.begin(), left.end(), [](const auto& word) { return word.starts_with('-') && word.size() > 1; });
  if (option != left.end()) {
    const std::string kind = chosen.empty() ? "option" : "option of " + place.get_name();
    return Unknown(option->substr(0, option->find('=')), kind, NamesOfOptions(place));
  }
  if (!chosen.empty()) return error.what();
  return left.empty() ? "which verb?" : Unknown(left.front(), "verb", NamesOfVerbs(app));
}

int ShowUsageError(const CLI::App& app, const CLI::ParseError& error) {
  const auto chosen = app.get_subcommands();
  const std::string help = chosen.empty() ? app.help() : chosen.front()->help(app.get_name());
  const std::string fault = FaultOf(app, error);
  AllocationWatch::Check();
  std::fprintf(stderr, "karst: %s\n\n%s", fault.c_str(), help.c_str());
  return kWrongUsage;
}

}  // namespace

std::variant<Options, int> ParseOptions(int argc, char** argv) {
  const AllocationWatch watch;
  RawOptions raw;
  CLI::App app("karst - runs Karst scripts and record filters", "karst");
  app.set_version_flag("--version", "karst " KARST_VERSION, "Print the version and exit");
  app.require_subcommand(1);
  app.footer(kExamples);
  app.get_formatter()->label("SUBCOMMAND", "VERB");
  AddCommonOptions(app, raw);
  AddRun(app, raw);
  AddFilter(app, raw);
  AddTree(app, raw);
  AddCheck(app, raw);
  AddRecordVerbs(app, raw.options, raw.encoding);
  for (CLI::App* verb : app.get_subcommands({})) verb->group("Verbs");
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& answer) {
    return ShowAnswer(app, answer);
  } catch (const CLI::ParseError& error) {
    return ShowUsageError(app, error);
  }
  AllocationWatch::Check();
  return Finished(raw);
}

}  // namespace karst::cli
