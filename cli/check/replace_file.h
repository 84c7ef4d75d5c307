// Writing a file anew in one step.
#pragma once

#include <string>
#include <string_view>

namespace karst::cli::check {

// Puts `bytes` in the place of a file's contents: they are written to a new file beside it, with its mode, which then
// takes its name, so that the file is at every moment either the old or the new one. A link stays a link to it. Gives
// the reason of a failure, as FreshFile gives it; empty if it went well.
std::string ReplaceFile(const std::string& path, std::string_view bytes);

}  // namespace karst::cli::check
