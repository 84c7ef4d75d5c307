// The files of the page around a document, as the program carries them. The build makes their bytes of shell.html,
// shell.css and shell.js.
#pragma once

#include <array>
#include <string_view>

namespace karst::cli {

struct ShellFile {
  std::string_view name;  // as it is asked for; empty: the page itself
  const char* type;
  std::string_view bytes;
};

extern const std::array<ShellFile, 3> kShellFiles;

}  // namespace karst::cli
