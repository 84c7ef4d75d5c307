// The engine behind the C interface.
#include "capi/engine.h"

#include <optional>

#include "values/name.h"

using karst::capi::Failure;

namespace {

constexpr karst::FileHandle kOutputHandle = 1;  // any handle but -1 tells the interpreter that there is a stream

// The engine that runs on this thread: the stream's callback carries no pointer.
thread_local karst_engine* running_engine = nullptr;

std::string Quoted(std::string_view what, std::string_view name) {
  return std::string(what) + " '" + std::string(name) + "'";
}

}  // namespace

// The time of a run: the interpreter is connected to the host's callbacks, and a stop request reaches it.
class karst_engine::Run {
 public:
  Run(karst_engine& engine, CScript& interpreter)
      : engine_(engine),
        interpreter_(interpreter),
        outer_(running_engine),
        stoppable_(engine.stop_target_, interpreter) {
    running_engine = &engine;
    interpreter.hWnd = engine.on_message.function ? engine.control_ : nullptr;
    interpreter.m_hStdOut = kOutputHandle;
    interpreter.m_pfnStdOutWrite = engine.on_output.function ? WriteOutput : nullptr;
    if (!engine.on_message_box.function) return;
    boxes_.emplace([&engine](std::string_view text) {
      const std::string shown = engine.Outside(text);
      return engine.on_message_box.function(engine.on_message_box.user, shown.c_str(), shown.size());
    });
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  ~Run() { running_engine = outer_; }

  // Gives what pieces of output are still kept, and closes the files that the run appended to.
  void Finish() {
    engine_.Give(engine_.on_message, engine_.messages_.Finish());
    engine_.Give(engine_.on_output, engine_.written_.Finish());
    interpreter_.CloseAllCatchedFileHandle();
  }
  karst_status Status() const { return interpreter_.IsStop() ? KARST_STOPPED : KARST_OK; }

 private:
  karst_engine& engine_;
  CScript& interpreter_;
  karst_engine* outer_;
  karst::capi::StopTarget::Scope stoppable_;
  std::optional<karst::MessageBoxesOfThread> boxes_;
};

// A record file on its way through a run, which reports how far it is and notices when it cannot be read on.
class karst_engine::RecordFile : public CMARCFile {
 public:
  explicit RecordFile(karst_engine& engine) : engine_(engine) {
    OnSkippedRecord([this](const karst::SkippedRecord& skipped) { Report(skipped); });
  }
  int NextRecord(CString& record) override {
    const auto& progress = engine_.on_progress;
    if (progress.function && progress.function(progress.user, BytePosition(), ByteSize(), RecordCount()) != 0) {
      engine_.Stop();
    }
    constexpr int kEnd = 1;
    if (engine_.stop_target_.WasAsked()) return engine_.filter_.Stop(), kEnd;
    const int result = CMARCFile::NextRecord(record);
    failed_ = result == -1;
    return result;
  }
  bool Failed() const { return failed_; }

 private:
  void Report(const karst::SkippedRecord& skipped) {
    const auto& callback = engine_.on_skipped;
    if (!callback.function) return;
    const std::string reason = engine_.Outside(skipped.reason);
    callback.function(callback.user, skipped.offset, skipped.bytes.data(), skipped.bytes.size(), reason.c_str(),
                      reason.size());
  }

  karst_engine& engine_;
  bool failed_ = false;
};

karst_engine::karst_engine(karst_encoding encoding) : encoding_(encoding), messages_(encoding), written_(encoding) {
  control_ = karst::AddWindow(std::make_unique<karst::ForwardingTextControl>(
      [this](std::string_view text) { Give(on_message, messages_.Add(text)); }));
}

karst_engine::~karst_engine() { karst::DestroyWindow(control_); }

std::string karst_engine::Inside(std::string_view text) const {
  std::string gbk;
  if (!karst::capi::ToInside(text, encoding_, gbk)) throw Failure{KARST_ERROR_TEXT, {}};
  return gbk;
}

std::string karst_engine::Outside(std::string_view gbk) const {
  std::string text;
  karst::capi::ToOutside(gbk, encoding_, text);
  return text;
}

std::string karst_engine::FileName(std::string_view name) const {
  if (name.empty()) throw Failure{KARST_ERROR_ARGUMENT, "an empty file name"};
  if (name.find('\0') != name.npos) throw Failure{KARST_ERROR_ARGUMENT, "a NUL in a file name"};
  return karst::capi::FileNameInside(name, encoding_);
}

void karst_engine::Give(const Callback<karst_text_callback>& callback, std::string_view text) const {
  if (callback.function && !text.empty()) callback.function(callback.user, text.data(), text.size());
}

int32_t karst_engine::WriteOutput(karst::FileHandle, const char* bytes, int32_t count, uint32_t) {
  karst_engine& engine = *running_engine;
  engine.Give(engine.on_output, engine.written_.Add({bytes, static_cast<size_t>(count)}));
  return count;
}

// Runs `body` with the interpreter connected. A script error is a Failure with its line.
template <typename Body>
auto karst_engine::Interpret(CScript& interpreter, Body body) {
  Run run(*this, interpreter);
  const auto refuse = [&](const char* text) {
    run.Finish();
    return Failure{KARST_ERROR_SCRIPT, Outside(text), interpreter.GetCurLineNumber()};
  };
  try {
    const karst_status status = body(run);
    run.Finish();
    return status;
  } catch (const CError& error) {
    if (!interpreter.IsStop()) throw refuse(error.what());
    run.Finish();
    return KARST_STOPPED;  // a stop that is noticed at the end of a loop is raised as an error
  } catch (const char* text) {
    throw refuse(text);
  } catch (...) {
    run.Finish();
    throw;
  }
}

karst_status karst_engine::RunScript(std::string_view file, int* result) {
  const std::string name = FileName(file);
  CScript script;
  script.Initial();
  return Interpret(script, [&](Run& run) {
    if (script.ReadCodeFromFile(name.c_str(), 0) == -1) throw Failure{KARST_ERROR_FILE, Quoted("cannot read", file)};
    const int given = script.MainLoop();
    const karst_status status = run.Status();
    if (result && status == KARST_OK) *result = given;
    return status;
  });
}

karst_status karst_engine::LoadFilter(std::string_view file) {
  const std::string name = FileName(file);
  has_filter_ = false;
  filter_.CloseAfterError();
  filter_.Initial();
  return Interpret(filter_, [&](Run& run) {
    if (filter_.ReadCodeFromFile(name.c_str(), 1) == -1) throw Failure{KARST_ERROR_FILE, Quoted("cannot read", file)};
    if (filter_.BuildMARCTree() == -1) throw Failure{KARST_ERROR_SCRIPT, "the filter gave -1 while it was built"};
    has_filter_ = run.Status() == KARST_OK;
    return run.Status();
  });
}

void karst_engine::NeedFilter() const {
  if (!has_filter_) throw Failure{KARST_ERROR_NO_FILTER, {}};
}

karst_status karst_engine::FilterRecord(std::string_view record) {
  output_.clear();
  NeedFilter();
  const std::string text = Inside(record);
  if (text.find('\0') != text.npos) throw Failure{KARST_ERROR_RECORD, "a NUL in a record"};
  CMARCString stream;
  stream.Open(std::string_view(text));
  filter_.CloseAfterError();
  const karst_status status = Interpret(filter_, [&](Run& run) {
    filter_.SafeSetVar("soutput", "");
    if (filter_.RunMARCTree(&stream) == -1) throw Failure{KARST_ERROR_SCRIPT, "the filter ended with the result -1"};
    return run.Status();
  });
  GiveOutput();
  return status;
}

void karst_engine::GiveOutput() {
  CString output;
  if (filter_.GetVarString("soutput", output) == -1) {
    throw Failure{KARST_ERROR_SCRIPT, "the variable 'soutput' is no text any more"};
  }
  output_ = Outside(output.view());
}

karst_status karst_engine::FilterFile(std::string_view file) {
  NeedFilter();
  RecordFile records(*this);
  if (records.Open(FileName(file).c_str()) == -1) throw Failure{KARST_ERROR_FILE, Quoted("cannot read", file)};
  filter_.CloseAfterError();
  return Interpret(filter_, [&](Run& run) {
    const int result = filter_.RunMARCTree(&records);
    if (records.Failed()) throw Failure{KARST_ERROR_FILE, Quoted("cannot read on in", file)};
    if (result == -1) throw Failure{KARST_ERROR_SCRIPT, "the filter ended with the result -1"};
    return run.Status();
  });
}

std::string karst_engine::VariableName(std::string_view name) const {
  if (name.empty() || name.find('\0') != name.npos) throw Failure{KARST_ERROR_ARGUMENT, "no name of a variable"};
  return std::string(karst::SignificantName(Inside(name)));
}

karst_status karst_engine::SetVariable(std::string_view name, std::string_view value) {
  const std::string inner_name = VariableName(name);
  const std::string inner_value = Inside(value);
  if (inner_value.find('\0') != inner_value.npos) throw Failure{KARST_ERROR_ARGUMENT, "a NUL in a variable's value"};
  filter_.CloseAfterError();
  try {
    filter_.SafeSetVar(inner_name.c_str(), inner_value.c_str());
  } catch (const CError& error) {
    throw Failure{KARST_ERROR_SCRIPT, Outside(error.what())};
  }
  return KARST_OK;
}

karst_status karst_engine::GetVariable(std::string_view name) {
  const std::string inner_name = VariableName(name);
  filter_.CloseAfterError();
  CString value;
  if (filter_.GetVarString(inner_name.c_str(), value) == -1) {
    throw Failure{KARST_ERROR_ARGUMENT, Quoted("no text variable", name)};
  }
  output_ = Outside(value.view());
  return KARST_OK;
}
