// The engine behind the C interface.
#include "capi/engine.h"

#include <new>
#include <optional>

#include "capi/lostfiles.h"
#include "values/name.h"

using karst::capi::Failure;

namespace {

constexpr karst::FileHandle kOutputHandle = 1;  // any handle but -1 tells the interpreter that there is a stream

// The engine that runs on this thread: the stream's callback carries no pointer.
thread_local karst_engine* running_engine = nullptr;

std::string Quoted(std::string_view what, std::string_view name) {
  return std::string(what) + " '" + std::string(name) + "'";
}

// Reads the file afresh and loads its code.
void Load(CCode& code, const std::string& name, std::string_view shown) {
  CString path(name.c_str());
  MakeFullPathName(path);
  CString source;
  if (code.ReadSource(path, source) == -1) throw Failure{KARST_ERROR_FILE, Quoted("cannot read", shown)};
  if (code.LoadCode(source.view(), path.view()) == -1) throw std::bad_alloc();
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
    engine.messages_.Drop();
    engine.written_.Drop();
    interpreter.hWnd = engine.on_message.function ? engine.control_ : nullptr;
    interpreter.m_hStdOut = kOutputHandle;
    interpreter.m_pfnStdOutWrite = engine.on_output.function ? WriteOutput : nullptr;
    interpreter.OnNamedOutputFailure([this](std::string_view file, int error) { lost_.Add(file, error); });
    if (!engine.on_message_box.function) return;
    boxes_.emplace([&engine](std::string_view text) {
      const std::string shown = engine.Outside(text);
      return engine.on_message_box.function(engine.on_message_box.user, shown.c_str(), shown.size());
    });
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;
  ~Run() {
    interpreter_.OnNamedOutputFailure({});
    running_engine = outer_;
  }

  // Closes the files that the run appended to, and gives what pieces of output are still kept.
  void Finish() {
    interpreter_.CloseAllCatchedFileHandle();
    engine_.Give(engine_.on_message, engine_.messages_.Finish());
    engine_.Give(engine_.on_output, engine_.written_.Finish());
  }
  karst_status Status() const { return interpreter_.IsStop() ? KARST_STOPPED : KARST_OK; }
  // After Finish: a run that did what it should, and has lost something of what it wrote, is a failure.
  void RefuseLoss() const {
    if (!lost_.HasAny()) return;
    throw Failure{KARST_ERROR_FILE, lost_.Text([this](const std::string& file) { return engine_.Outside(file); })};
  }

 private:
  karst_engine& engine_;
  CScript& interpreter_;
  karst_engine* outer_;
  karst::capi::StopTarget::Scope stoppable_;
  std::optional<karst::MessageBoxesOfThread> boxes_;
  karst::capi::LostFiles lost_;
};

// A record file on its way through a run, which reports how far it is.
class karst_engine::RecordFile : public CMARCFile {
 public:
  explicit RecordFile(karst_engine& engine) : engine_(engine) {
    OnSkippedRecord([this](const karst::SkippedRecord& skipped) { Report(skipped); });
  }
  int NextRecord(CString& record) override {
    const auto& progress = engine_.on_progress;
    if (progress.function && progress.function(progress.user, BytePosition(), ByteSize(), RecordCount()) != 0) {
      engine_.Stop();
      constexpr int kEnd = 1;
      return kEnd;
    }
    return CMARCFile::NextRecord(record);
  }

 private:
  void Report(const karst::SkippedRecord& skipped) {
    const auto& callback = engine_.on_skipped;
    if (!callback.function) return;
    const std::string reason = engine_.Outside(skipped.reason);
    callback.function(callback.user, skipped.offset, skipped.bytes.data(), skipped.bytes.size(), reason.c_str(),
                      reason.size());
  }

  karst_engine& engine_;
};

karst_engine::karst_engine(karst_encoding encoding)
    : last_failure(encoding), encoding_(encoding), messages_(encoding), written_(encoding) {
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

// Runs `body` with the interpreter connected. A script error is a Failure with its line, and lost output is one.
template <typename Body>
auto karst_engine::Interpret(CScript& interpreter, Body body) {
  Run run(*this, interpreter);
  const auto refuse = [&](karst_status status, const char* text, int line) {
    run.Finish();
    return Failure{status, Outside(text), line};
  };
  karst_status status;
  try {
    status = body(run);
    run.Finish();
  } catch (const karst::MemoryError& error) {
    throw refuse(KARST_ERROR_MEMORY, error.what(), interpreter.LineOf(error));
  } catch (const CError& error) {
    throw refuse(KARST_ERROR_SCRIPT, error.what(), interpreter.LineOf(error));
  } catch (const char* text) {
    throw refuse(KARST_ERROR_SCRIPT, text, interpreter.GetCurLineNumber());
  } catch (...) {
    run.Finish();
    throw;
  }
  run.RefuseLoss();
  return status;
}

karst_status karst_engine::RunScript(std::string_view file, int* result) {
  const std::string name = FileName(file);
  CScript script;
  int given = 0;
  const karst_status status = Interpret(script, [&](Run& run) {
    Load(script, name, file);
    given = script.MainLoop();
    return run.Status();
  });
  if (result && status == KARST_OK) *result = given;
  return status;
}

karst_status karst_engine::LoadFilter(std::string_view file) {
  has_filter_ = false;  // whatever refuses the new one
  const std::string name = FileName(file);
  return Interpret(filter_, [&](Run& run) {
    filter_.CloseAfterError();
    Load(filter_, name, file);
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
  const karst_status status = Interpret(filter_, [&](Run& run) {
    filter_.CloseAfterError();
    Set("soutput", "");
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
  const std::string name = FileName(file);
  return Interpret(filter_, [&](Run& run) {
    RecordFile records(*this);
    if (records.Open(name.c_str()) == -1) throw Failure{KARST_ERROR_FILE, Quoted("cannot read", file)};
    filter_.CloseAfterError();
    const int result = filter_.RunMARCTree(&records);
    if (filter_.ReadFailed()) throw Failure{KARST_ERROR_FILE, Quoted("cannot read on in", file)};
    if (result == -1) throw Failure{KARST_ERROR_SCRIPT, "the filter ended with the result -1"};
    return run.Status();
  });
}

std::string karst_engine::VariableName(std::string_view name) const {
  if (name.empty() || name.find('\0') != name.npos) throw Failure{KARST_ERROR_ARGUMENT, "no name of a variable"};
  return std::string(karst::SignificantName(Inside(name)));
}

void karst_engine::Set(const char* name, const char* value) {
  if (filter_.SafeSetVar(name, value) == -1) throw std::bad_alloc();
}

karst_status karst_engine::SetVariable(std::string_view name, std::string_view value) {
  const std::string inner_name = VariableName(name);
  const std::string inner_value = Inside(value);
  if (inner_value.find('\0') != inner_value.npos) throw Failure{KARST_ERROR_ARGUMENT, "a NUL in a variable's value"};
  filter_.CloseAfterError();
  try {
    Set(inner_name.c_str(), inner_value.c_str());
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
