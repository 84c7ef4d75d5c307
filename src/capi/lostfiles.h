// What a run has lost of the files that its script writes by name.
#pragma once

#include <map>
#include <new>
#include <string>
#include <string_view>
#include <system_error>

namespace karst::capi {

class LostFiles {
 public:
  // Throws nothing, as it is called while a file fails. Where there is no memory for the name, that is what is left to
  // say of the run.
  void Add(std::string_view file, int error) noexcept {
    try {
      const auto [added, is_new] = reasons_.try_emplace(std::string(file), error);
      if (reasons_.size() == 1) first_ = &*added;
    } catch (...) {
      has_no_memory_ = true;
    }
  }
  bool HasAny() const { return first_ || has_no_memory_; }
  // The file that failed first, with the reason, and how many others did. std::bad_alloc where no name could be kept.
  // `Shown` makes of a name, which is GBK, what a host sees.
  template <typename Show>
  std::string Text(Show shown) const {
    if (has_no_memory_) throw std::bad_alloc();
    const std::string reason = std::generic_category().message(first_->second);
    std::string text = "cannot write '" + shown(first_->first) + "': " + reason;
    if (reasons_.size() > 1) text += " (and " + std::to_string(reasons_.size() - 1) + " more)";
    return text;
  }

 private:
  std::map<std::string, int, std::less<>> reasons_;
  const std::pair<const std::string, int>* first_ = nullptr;
  bool has_no_memory_ = false;
};

}  // namespace karst::capi
