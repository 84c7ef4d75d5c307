// The declarations of options that several verbs share.
#include "cli/verbs/common_options.h"

namespace karst::cli {

const OptionList::Choices<std::optional<Encoding>> kEncodingChoices = {{"utf-8", Encoding::kUtf8},
                                                                       {"gbk", Encoding::kGbk}};

void AddEncoding(OptionList& list, CommonOptions& common) {
  list.Choice("--encoding", "Encoding of standard output, standard error and file names (default: the locale's)",
              kEncodingChoices, common.encoding, OptionList::Letters::kAnyCase, "utf-8|gbk");
}

void AddMessages(OptionList& list, CommonOptions& common) {
  list.Text("--messages", "Where the output control goes (default: stdout)", "stdout|stderr|FILE", common.messages);
}

void AddSource(OptionList& list, SourceReading& reading) {
  list.Choice<SourceReading>("--source",
                             "How scripts and filters are read: as what they evidently are, or byte by byte",
                             {{"auto", SourceReading::kEvident}, {"as-is", SourceReading::kAsIs}}, reading);
}

}  // namespace karst::cli
