// The options that the verbs around records share.
#pragma once

#include "cli/records/record_files.h"
#include "cli/verbs/common_options.h"

namespace karst::cli {

extern const OptionList::Choices<RecordFormat> kFormatChoices;
extern const OptionList::Choices<RecordCharset> kCharsetChoices;

// --encoding, and how the record files are read.
void AddReading(OptionList& list, CommonOptions& common, RecordFilesOptions& files);
void AddRejects(OptionList& list, ReportOptions& report);
void AddQuiet(OptionList& list, ReportOptions& report);

}  // namespace karst::cli
