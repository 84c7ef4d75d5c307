// A verb of the program: its options, and its run.
#pragma once

#include <functional>

#include "cli/base/console.h"
#include "cli/verbs/common_options.h"

namespace karst::cli {

class Verb {
 public:
  Verb(const char* name, const char* help, const char* examples) : name_(name), help_(help), examples_(examples) {}
  Verb(const Verb&) = delete;
  Verb& operator=(const Verb&) = delete;
  virtual ~Verb() = default;

  const char* Name() const { return name_; }
  // One line, and the examples at the end of the verb's own help.
  const char* Help() const { return help_; }
  const char* Examples() const { return examples_; }

  // Adds the options to the list; what is given goes to the object and to `common`.
  virtual void Declare(OptionList& list, CommonOptions& common) = 0;
  // Gives the exit status. HostError for what keeps the run from having a console.
  virtual int Run(const CommonOptions& common) = 0;

 private:
  const char* name_;
  const char* help_;
  const char* examples_;
};

// Runs `body`, which gives an exit status, and reports on the console what it throws and what of its output was lost.
// Gives the status that is left in the end.
int RunToEnd(Console& console, const std::function<int()>& body);

}  // namespace karst::cli
