// A text at the very end of its own heap block, so that a sanitizer sees any read behind its NUL.
#pragma once

#include <cstring>
#include <memory>
#include <string_view>

namespace karst {

class TextAtEnd {
 public:
  explicit TextAtEnd(std::string_view text) : block_(new char[text.size() + 1]) {
    std::memcpy(block_.get(), text.data(), text.size());
    block_[text.size()] = 0;
  }
  const char* get() const { return block_.get(); }

 private:
  std::unique_ptr<char[]> block_;
};

}  // namespace karst
