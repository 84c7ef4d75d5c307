// A filter tree on the test bench: built from a text, with an output control of its own.
#pragma once

#include <string>
#include <string_view>

#include "marc/marctree.h"

namespace karst::testing {

class FilterBench {
 public:
  FilterBench() {
    auto control = std::make_unique<MemoryTextControl>();
    control_ = control.get();
    tree.hWnd = AddWindow(std::move(control));
  }
  explicit FilterBench(std::string_view filter) : FilterBench() { Build(filter); }
  ~FilterBench() { DestroyWindow(tree.hWnd); }
  FilterBench(const FilterBench&) = delete;
  FilterBench& operator=(const FilterBench&) = delete;

  // Loads a filter whose lines end in LF here.
  void Load(std::string_view filter) {
    std::string source;
    for (char byte : filter) {
      if (byte == '\n') source += '\r';
      source += byte;
    }
    tree.LoadCode(source, "");
  }
  int Build(std::string_view filter) {
    Load(filter);
    return tree.BuildMARCTree();
  }
  std::string Output() const { return std::string(control_->Text().view()); }

  CMARCTree tree;

 private:
  MemoryTextControl* control_;
};

// A record text of fields (tag, indicators, data) with "$" for the subfield mark.
inline std::string Record(std::initializer_list<std::string_view> fields) {
  std::string record = "00000nam0 2200000   450 ";
  for (std::string_view field : fields) {
    for (char byte : field) record += byte == '$' ? kSubfieldMark : byte;
    record += kFieldEnd;
  }
  return record + kRecordEnd;
}

}  // namespace karst::testing
