#include "support/fences.h"

#include <gtest/gtest.h>

#include <fstream>

namespace karst::testing {

std::vector<Fence> ReadFences(const std::string& path) {
  std::ifstream in(path);
  EXPECT_TRUE(in.good()) << path;
  std::vector<Fence> fences;
  bool inside = false;
  int number = 0;
  for (std::string line; std::getline(in, line);) {
    ++number;
    if (!line.starts_with("```")) {
      if (inside) fences.back().text += line + "\n";
      continue;
    }
    inside = !inside;
    if (inside) fences.push_back({path + ":" + std::to_string(number), line.substr(3), ""});
  }
  EXPECT_FALSE(inside) << path << ": the last fence is open";
  return fences;
}

std::vector<FencePair> PairedFences(const std::string& path, const std::string& first, const std::string& second) {
  std::vector<FencePair> pairs;
  bool awaits = false;
  for (const Fence& fence : ReadFences(path)) {
    const bool opens = fence.word.starts_with(first), closes = fence.word == second;
    if (!opens && !closes) continue;
    EXPECT_EQ(closes, awaits) << fence.place << ": " << second << " must follow, and stand nowhere else";
    if (opens) pairs.push_back({fence, {}});
    if (closes && awaits) pairs.back().second = fence;
    awaits = opens;
  }
  EXPECT_FALSE(awaits) << path << ": the last " << first << " has no " << second;
  return pairs;
}

}  // namespace karst::testing
