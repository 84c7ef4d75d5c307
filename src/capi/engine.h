// The engine behind the C interface: a filter tree that lives on, interpreters for scripts, and the host's callbacks.
#pragma once

#include <string>
#include <string_view>

#include "capi/failure.h"
#include "capi/hosttext.h"
#include "capi/stoptarget.h"
#include "marc/marctree.h"

struct karst_engine {
 public:
  explicit karst_engine(karst_encoding encoding);
  karst_engine(const karst_engine&) = delete;
  karst_engine& operator=(const karst_engine&) = delete;
  ~karst_engine();

  // The operations give a status or throw; texts are in the host's encoding, and those given stay until the next
  // operation.
  karst_status RunScript(std::string_view file, int* result);
  karst_status LoadFilter(std::string_view file);
  karst_status FilterRecord(std::string_view record);
  karst_status FilterFile(std::string_view file);
  karst_status SetVariable(std::string_view name, std::string_view value);
  karst_status GetVariable(std::string_view name);
  const std::string& Output() const { return output_; }
  void Stop() { stop_target_.Stop(); }

  template <typename Function>
  struct Callback {
    Function function = nullptr;
    void* user = nullptr;
  };
  Callback<karst_text_callback> on_message;
  Callback<karst_text_callback> on_output;
  Callback<karst_message_box_callback> on_message_box;
  Callback<karst_progress_callback> on_progress;
  Callback<karst_skipped_callback> on_skipped;

  karst::capi::LastFailure last_failure;
  bool busy = false;  // an operation is under way; another one would come from a callback

 private:
  class Run;
  class RecordFile;

  std::string Inside(std::string_view text) const;
  std::string Outside(std::string_view gbk) const;
  std::string FileName(std::string_view name) const;
  std::string VariableName(std::string_view name) const;
  void NeedFilter() const;
  template <typename Body>
  auto Interpret(CScript& interpreter, Body body);
  void Set(const char* name, const char* value);
  void GiveOutput();
  void Give(const Callback<karst_text_callback>& callback, std::string_view text) const;
  static int32_t WriteOutput(karst::FileHandle, const char* bytes, int32_t count, uint32_t);

  const karst_encoding encoding_;
  CMARCTree filter_;
  bool has_filter_ = false;
  std::string output_;
  karst::capi::StopTarget stop_target_;
  HWND control_ = nullptr;
  karst::capi::OutsidePieces messages_;
  karst::capi::OutsidePieces written_;
};
