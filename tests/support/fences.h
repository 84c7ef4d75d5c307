// The fenced blocks of a Markdown page.
#pragma once

#include <string>
#include <vector>

namespace karst::testing {

struct Fence {
  std::string place;  // file and line
  std::string word;   // what stands after the opening marks
  std::string text;
};

// The blocks of a page, given by its path. A page that cannot be read, and an open block, fail the running test.
std::vector<Fence> ReadFences(const std::string& path);

// Of all fences, those called `first` with the `second` that must follow each of them.
using FencePair = std::pair<Fence, Fence>;
std::vector<FencePair> PairedFences(const std::string& path, const std::string& first, const std::string& second);

}  // namespace karst::testing
