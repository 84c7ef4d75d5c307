// The options of convert, show, count and split.
#include "cli/verbs/record_verbs.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <charconv>

namespace karst::cli {
namespace {

constexpr const char* kConvertExample =
    "Examples:\n"
    "  karst convert books.iso books.xml\n"
    "  karst convert --to-charset utf-8 old.mrc new.mrc.gz\n"
    "  karst convert --to lines --to-charset utf-8 books.iso | less";
constexpr const char* kShowExample =
    "Examples:\n"
    "  karst show --limit 10 books.iso\n"
    "  karst show --field 200 --field '7**' books.iso";
constexpr const char* kCountExample =
    "Example:\n"
    "  karst count *.iso *.xml.gz";
constexpr const char* kSplitExample =
    "Example:\n"
    "  karst split --every 10000 --prefix part- books.iso";

// An option with a fixed set of names; `find` gives the value of a name.
template <class Value, class Find>
void AddNamed(CLI::App& verb, const char* name, const char* help, const std::vector<std::string>& names, Value& value,
              const Find& find) {
  std::string shown;
  for (const std::string& one : names) shown += (shown.empty() ? "" : "|") + one;
  verb.add_option_function<std::string>(
          name, [&value, find](const std::string& given) { value = *find(given); }, help)
      ->check(CLI::IsMember(names, CLI::ignore_case))
      ->option_text(shown);
}

const std::vector<std::string> kFormats = {"iso2709", "internal", "marcxml", "lines"};
const std::vector<std::string> kCharsets = {"gbk", "utf-8"};

CLI::App* AddVerb(CLI::App& app, const char* name, const char* help, const char* footer, Verb verb, Options& options,
                  std::string& encoding) {
  CLI::App* added = app.add_subcommand(name, help);
  added->add_option("--encoding", encoding, "Encoding of messages and file names (default: the locale's)")
      ->check(CLI::IsMember({"utf-8", "gbk"}, CLI::ignore_case))
      ->option_text("utf-8|gbk");
  AddNamed(*added, "--from", "Format of the record files (default: found out)", kFormats, options.record_tools.from,
           FormatByName);
  AddNamed(*added, "--from-charset", "Charset of the records (default: found out record by record)", kCharsets,
           options.record_tools.from_charset, CharsetByName);
  added->footer(footer);
  added->callback([&options, verb] { options.verb = verb; });
  return added;
}

// A number of records, from 1.
CLI::Option* AddRecordNumber(CLI::App& verb, const char* name, const char* help, uint64_t& value) {
  const auto fault = [](const std::string& text) {
    uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool good = error == std::errc() && end == text.data() + text.size() && number > 0;
    return good ? "" : text + " is no number from 1";
  };
  return verb.add_option(name, value, help)->check(CLI::Validator(fault, ""))->option_text("N");
}

void AddRejects(CLI::App& verb, Options& options) {
  verb.add_option("--rejects", options.rejects, "Keep the raw bytes of what is no record in FILE")->option_text("FILE");
  verb.add_flag("-q,--quiet", options.quiet, "No summary unless something was passed over");
}

// The names that are given: IN... and OUT, or IN... where -o names OUT. One name alone goes to standard output.
void TakeConvertNames(Options& options, const std::vector<std::string>& names) {
  options.records = names;
  std::string& output = options.record_tools.output;
  if (!output.empty()) return;
  if (names.size() > 1) options.records.pop_back();
  output = names.size() > 1 ? names.back() : "-";
}

void AddConvert(CLI::App& app, Options& options, std::string& encoding) {
  CLI::App* convert = AddVerb(app, "convert", "Convert files of records to another format or charset", kConvertExample,
                              Verb::kConvert, options, encoding);
  RecordToolOptions& tools = options.record_tools;
  convert->add_option("FILE", options.records, "Record files, and the file to write as the last; - is a standard file")
      ->required()
      ->option_text(" ");
  convert->add_option("-o,--output", tools.output, "The file to write; every FILE is read then")->option_text("FILE");
  AddNamed(*convert, "--to", "Format to write (default: by the name of the file)", kFormats, tools.to, FormatByName);
  AddNamed(*convert, "--to-charset", "Charset to write (default: unchanged)", kCharsets, tools.to_charset,
           CharsetByName);
  AddNamed(*convert, "--flavour", "Where a record names its charset (default: found out)",
           {"auto", "marc21", "unimarc", "none"}, tools.flavour, FlavourByName);
  convert->add_flag("--gzip", tools.gzip, "Compress what is written (default: if its name ends in .gz)");
  AddRejects(*convert, options);
  convert->callback([&options] {
    options.verb = Verb::kConvert;
    TakeConvertNames(options, std::vector<std::string>(options.records));
  });
}

void AddShow(CLI::App& app, Options& options, std::string& encoding) {
  CLI::App* show = AddVerb(app, "show", "Show records for reading", kShowExample, Verb::kShow, options, encoding);
  RecordToolOptions& tools = options.record_tools;
  show->add_option("RECORDS", options.records, "Record files; - is standard input")->required()->option_text(" ");
  show->add_option("--field", tools.fields, "Show these fields only; * in the tag stands for any character")
      ->option_text("TAG")
      ->allow_extra_args(false);
  AddRecordNumber(*show, "--limit", "Show so many records at most", tools.limit);
  show->add_option_function<std::string>(
          "--color",
          [&tools](const std::string& mode) {
            tools.colour = mode == "always"  ? ColourMode::kAlways
                           : mode == "never" ? ColourMode::kNever
                                             : ColourMode::kAuto;
          },
          "Colours (default: auto, on a terminal unless NO_COLOR is set)")
      ->check(CLI::IsMember({"auto", "always", "never"}))
      ->option_text("auto|always|never");
  show->add_flag("-q,--quiet", options.quiet, "No summary unless something was passed over");
}

void AddCount(CLI::App& app, Options& options, std::string& encoding) {
  CLI::App* count = AddVerb(app, "count", "Count the records of files", kCountExample, Verb::kCount, options, encoding);
  count->add_option("RECORDS", options.records, "Record files; - is standard input")->required()->option_text(" ");
}

void AddSplit(CLI::App& app, Options& options, std::string& encoding) {
  CLI::App* split = AddVerb(app, "split", "Split a file of records into files of some records each", kSplitExample,
                            Verb::kSplit, options, encoding);
  RecordToolOptions& tools = options.record_tools;
  split->add_option("RECORDS", options.records, "The record file; - is standard input")
      ->required()
      ->expected(1)
      ->option_text(" ");
  AddRecordNumber(*split, "--every", "Records in each file", tools.every)->required();
  split->add_option("--prefix", tools.prefix, "What the names of the files begin with (default: the name of the file)")
      ->option_text("TEXT");
  AddRejects(*split, options);
}

}  // namespace

void AddRecordVerbs(CLI::App& app, Options& options, std::string& encoding) {
  AddConvert(app, options, encoding);
  AddShow(app, options, encoding);
  AddCount(app, options, encoding);
  AddSplit(app, options, encoding);
}

}  // namespace karst::cli
