// The declarations of options that the verbs around records share.
#include "cli/verbs/record_options.h"

namespace karst::cli {

const OptionList::Choices<RecordFormat> kFormatChoices = {{"iso2709", RecordFormat::kIso2709},
                                                          {"internal", RecordFormat::kInternal},
                                                          {"marcxml", RecordFormat::kMarcXml},
                                                          {"lines", RecordFormat::kLines}};
const OptionList::Choices<RecordCharset> kCharsetChoices = {{"gbk", RecordCharset::kGbk},
                                                            {"utf-8", RecordCharset::kUtf8}};

void AddReading(OptionList& list, CommonOptions& common, RecordFilesOptions& files) {
  list.Choice("--encoding", "Encoding of messages and file names (default: the locale's)", kEncodingChoices,
              common.encoding, OptionList::Letters::kAnyCase);
  list.Choice("--from", "Format of the record files (default: found out)", kFormatChoices, files.format,
              OptionList::Letters::kAnyCase);
  list.Choice("--from-charset", "Charset of the records (default: found out record by record)", kCharsetChoices,
              files.charset, OptionList::Letters::kAnyCase);
}

void AddRejects(OptionList& list, ReportOptions& report) {
  list.Text("--rejects", "Keep the raw bytes of what is no record in FILE", "FILE", report.rejects);
}

void AddQuiet(OptionList& list, ReportOptions& report) {
  list.Flag("-q,--quiet", "No summary unless something was passed over", report.quiet);
}

}  // namespace karst::cli
