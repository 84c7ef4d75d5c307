// Files beside a page.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace karst::cli {

// The whole of a regular file below `folder`. Nothing where `path` has a part that is empty or begins with a dot, where
// it or a folder on the way is a symbolic link, where the file is longer than `most` bytes or cannot be read.
std::optional<std::string> ReadPageFile(const std::string& folder, std::string_view path, size_t most);

// The content type for a file of that name. Texts are GBK, as scripts write them; scripts are plain text.
std::string ContentTypeOf(std::string_view path);

}  // namespace karst::cli
