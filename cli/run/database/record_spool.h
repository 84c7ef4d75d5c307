// Records in the internal form, put down one after the other and read back by number.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>
#include <vector>

namespace karst::cli {

// Lies in a file without a name in the folder for temporary files, so that memory holds a few bytes a record and
// nothing is left behind. Every operation throws std::runtime_error with the reason if the file fails.
class RecordSpool {
 public:
  RecordSpool();

  void Add(std::string_view record);
  // Brings all records into the file. To be called between the last Add and the first Read.
  void Finish();
  uint32_t Count() const { return static_cast<uint32_t>(ends_.size()); }
  // Puts the record and a NUL at the start of `target`, which grows if need be. Gives the record.
  std::string_view Read(uint32_t number, std::vector<char>& target) const;

 private:
  struct Closer {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Closer> file_;
  std::vector<uint64_t> ends_;  // where each record ends in the file
};

}  // namespace karst::cli
