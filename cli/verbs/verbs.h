// The list of the verbs. Each has a file of its own name, with its options, their checking and its run.
#pragma once

#include <memory>

#include "cli/verbs/verb.h"

namespace karst::cli {

using VerbMaker = std::unique_ptr<Verb> (*)();

std::unique_ptr<Verb> MakeRunVerb();
std::unique_ptr<Verb> MakeFilterVerb();
std::unique_ptr<Verb> MakeTreeVerb();
std::unique_ptr<Verb> MakeCheckVerb();
std::unique_ptr<Verb> MakeConvertVerb();
std::unique_ptr<Verb> MakeShowVerb();
std::unique_ptr<Verb> MakeCountVerb();
std::unique_ptr<Verb> MakeSplitVerb();

// As the help shows them.
inline constexpr VerbMaker kVerbs[] = {MakeRunVerb,     MakeFilterVerb, MakeTreeVerb,  MakeCheckVerb,
                                       MakeConvertVerb, MakeShowVerb,   MakeCountVerb, MakeSplitVerb};

}  // namespace karst::cli
