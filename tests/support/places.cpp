// Only this file is compiled with paths in it, so that the others compile to the same objects wherever they lie.
#include "support/places.h"

namespace karst::testing {

std::string SourcePath(const std::string& path) { return KARST_SOURCE_DIR "/" + path; }
const char* ProgramPath() { return KARST_PROGRAM; }

}  // namespace karst::testing
