// The word that was most likely meant by one that is not known.
#pragma once

#include <string>
#include <vector>

namespace karst::cli {

// The word that is one slip of the typing away for each three letters, or that begins with what was typed; empty if
// there is none.
std::string NearestOf(const std::string& typed, const std::vector<std::string>& words);

}  // namespace karst::cli
