// The command line: the verbs together, help, wrong usage.
#include "cli/verbs/command_line.h"

#include <unistd.h>

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <algorithm>
#include <cstdio>
#include <new>
#include <sstream>

#include "cli/base/exit_status.h"
#include "cli/base/writer.h"
#include "cli/verbs/nearest_word.h"
#include "cli/verbs/verbs.h"

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

std::variant<Command, int> ParseCommandLine(int argc, char** argv) {
  const AllocationWatch watch;
  CommonOptions common;
  std::vector<std::unique_ptr<Verb>> verbs;
  CLI::App app("karst - runs Karst scripts and record filters", "karst");
  app.set_version_flag("--version", "karst " KARST_VERSION, "Print the version and exit");
  app.require_subcommand(1);
  app.footer(kExamples);
  app.get_formatter()->label("SUBCOMMAND", "VERB");
  OptionList before_verb(app);
  AddEncoding(before_verb, common);
  AddMessages(before_verb, common);
  for (const VerbMaker make : kVerbs) {
    Verb& verb = *verbs.emplace_back(make());
    CLI::App& added = *app.add_subcommand(verb.Name(), verb.Help());
    OptionList options(added);
    verb.Declare(options, common);
    added.footer(verb.Examples());
    added.group("Verbs");
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& answer) {
    return ShowAnswer(app, answer);
  } catch (const CLI::ParseError& error) {
    return ShowUsageError(app, error);
  }
  AllocationWatch::Check();
  const std::string chosen = app.get_subcommands().front()->get_name();
  const auto verb = std::find_if(verbs.begin(), verbs.end(), [&](const auto& one) { return one->Name() == chosen; });
  return Command{std::move(*verb), std::move(common)};
}

}  // namespace karst::cli
