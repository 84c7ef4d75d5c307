// The options that several verbs share.
#pragma once

#include <optional>
#include <string>

#include "cli/base/encoding.h"
#include "cli/base/source_text.h"
#include "cli/verbs/option_list.h"

namespace karst::cli {

extern const OptionList::Choices<std::optional<Encoding>> kEncodingChoices;

// Those that stand before the verb, too.
struct CommonOptions {
  std::optional<Encoding> encoding;  // none: the locale's
  std::string messages = "stdout";   // as ConsoleOptions has it

  // Of standard output, standard error and the names on the command line.
  Encoding TextEncoding() const { return encoding ? *encoding : LocaleEncoding(); }
};

void AddEncoding(OptionList& list, CommonOptions& common);
void AddMessages(OptionList& list, CommonOptions& common);
// As what scripts and filters are read.
void AddSource(OptionList& list, SourceReading& reading);

}  // namespace karst::cli
