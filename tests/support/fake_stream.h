// A source of records in memory that gives whatever results it is told, and keeps count of what was asked of it.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "records/cartulary.h"

namespace karst::testing {

class FakeStream : public CMARCStream {
 public:
  // One answer of NextRecord.
  struct Step {
    int result = 0;
    std::string record;
  };

  FakeStream() = default;
  explicit FakeStream(std::vector<std::string> records) {
    for (std::string& record : records) steps.push_back({0, std::move(record)});
  }

  int Open(const CString&) override { return 0; }
  int Close() override { return 0; }
  int NextRecord(CString& record) override {
    ++calls;
    if (on_next) on_next();
    if (next_ == steps.size()) return 1;
    const Step& step = steps[next_++];
    stream_position += 100;
    if (step.result == 0) current_ = std::string_view(step.record);
    record = current_;
    return step.result;
  }
  const char* GetCurRec() override { return current_; }

  std::vector<Step> steps;  // behind the last: the end of the data
  std::function<void()> on_next;
  int calls = 0;

 private:
  size_t next_ = 0;
  CString current_;
};

}  // namespace karst::testing
