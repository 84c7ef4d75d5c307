// The edge of the C interface: handles are checked, nothing but a status gets out.

#include "capi/engine.h"
#include "capi/reader.h"

using karst::capi::Given;
using karst::capi::Guarded;
using karst::capi::NothingGiven;

namespace {

// A pointer and a length from outside.
struct Bytes {
  const char* bytes;
  size_t length;
  bool IsText() const { return bytes || length == 0; }
  std::string_view View() const { return bytes ? std::string_view(bytes, length) : std::string_view(); }
};

// Runs an operation of an engine, unless one is under way.
template <typename Body>
karst_status Operate(karst_engine* engine, Body body) noexcept {
  if (!engine) return KARST_ERROR_ARGUMENT;
  if (engine->busy) return KARST_ERROR_BUSY;
  engine->busy = true;
  const karst_status status = Guarded(engine->last_failure, body);
  engine->busy = false;
  return status;
}

template <typename Body>
karst_status OperateOn(karst_engine* engine, Bytes text, Body body) noexcept {
  return Operate(engine, [&]() -> karst_status {
    if (!text.IsText()) throw karst::capi::Failure{KARST_ERROR_ARGUMENT, {}};
    return body(text.View());
  });
}

template <typename Function>
karst_status SetCallback(karst_engine* engine, karst_engine::Callback<Function> karst_engine::*slot, Function function,
                         void* user) noexcept {
  return Operate(engine, [&] {
    engine->*slot = {function, user};
    return KARST_OK;
  });
}

template <typename Handle>
Handle* Make(karst_encoding encoding) noexcept {
  if (!karst::capi::IsEncoding(encoding)) return nullptr;
  try {
    return new Handle(encoding);
  } catch (...) {
    return nullptr;
  }
}

}  // namespace

const char* karst_version(void) { return KARST_VERSION_TEXT; }

const char* karst_status_text(karst_status status) {
  switch (status) {
    case KARST_OK: return "ok";
    case KARST_END: return "end of the records";
    case KARST_SKIPPED: return "no record";
    case KARST_STOPPED: return "stopped";
    case KARST_ERROR_ARGUMENT: return "bad argument";
    case KARST_ERROR_FILE: return "file error";
    case KARST_ERROR_SCRIPT: return "script error";
    case KARST_ERROR_TEXT: return "no UTF-8";
    case KARST_ERROR_RECORD: return "bad record";
    case KARST_ERROR_ROOM: return "no room";
    case KARST_ERROR_NO_FILTER: return "no filter";
    case KARST_ERROR_BUSY: return "busy";
    case KARST_ERROR_MEMORY: return "out of memory";
    case KARST_ERROR_INTERNAL: return "internal error";
  }
  return "unknown status";
}

karst_engine* karst_engine_new(karst_encoding encoding) { return Make<karst_engine>(encoding); }

void karst_engine_free(karst_engine* engine) {
  if (engine && !engine->busy) delete engine;
}

karst_status karst_run_script(karst_engine* engine, const char* file, size_t file_length, int* result) {
  return OperateOn(engine, {file, file_length}, [=](std::string_view name) { return engine->RunScript(name, result); });
}

karst_status karst_load_filter(karst_engine* engine, const char* file, size_t file_length) {
  return OperateOn(engine, {file, file_length}, [=](std::string_view name) { return engine->LoadFilter(name); });
}

karst_status karst_filter_record(karst_engine* engine, const char* record, size_t length, const char** output,
                                 size_t* output_length) {
  const karst_status status =
      OperateOn(engine, {record, length}, [=](std::string_view text) { return engine->FilterRecord(text); });
  const bool made = status >= 0;
  if (output) *output = made ? engine->Output().c_str() : "";
  if (output_length) *output_length = made ? engine->Output().size() : 0;
  return status;
}

karst_status karst_filter_file(karst_engine* engine, const char* file, size_t file_length) {
  return OperateOn(engine, {file, file_length}, [=](std::string_view name) { return engine->FilterFile(name); });
}

karst_status karst_set_variable(karst_engine* engine, const char* name, size_t name_length, const char* value,
                                size_t value_length) {
  const Bytes text{value, value_length};
  return OperateOn(engine, {name, name_length}, [&](std::string_view variable) {
    if (!text.IsText()) throw karst::capi::Failure{KARST_ERROR_ARGUMENT, {}};
    return engine->SetVariable(variable, text.View());
  });
}

karst_status karst_get_variable(karst_engine* engine, const char* name, size_t name_length, const char** value,
                                size_t* value_length) {
  return OperateOn(engine, {name, name_length}, [&](std::string_view variable) {
    const karst_status status = engine->GetVariable(variable);
    if (value) *value = engine->Output().c_str();
    if (value_length) *value_length = engine->Output().size();
    return status;
  });
}

void karst_stop(karst_engine* engine) {
  if (engine) engine->Stop();
}

const char* karst_error_text(const karst_engine* engine, size_t* length) {
  return engine ? Given(engine->last_failure.Text(), length) : NothingGiven(length);
}

int karst_error_line(const karst_engine* engine) { return engine ? engine->last_failure.Line() : 0; }

karst_status karst_on_message(karst_engine* engine, karst_text_callback callback, void* user) {
  return SetCallback(engine, &karst_engine::on_message, callback, user);
}

karst_status karst_on_output(karst_engine* engine, karst_text_callback callback, void* user) {
  return SetCallback(engine, &karst_engine::on_output, callback, user);
}

karst_status karst_on_message_box(karst_engine* engine, karst_message_box_callback callback, void* user) {
  return SetCallback(engine, &karst_engine::on_message_box, callback, user);
}

karst_status karst_on_progress(karst_engine* engine, karst_progress_callback callback, void* user) {
  return SetCallback(engine, &karst_engine::on_progress, callback, user);
}

karst_status karst_on_skipped(karst_engine* engine, karst_skipped_callback callback, void* user) {
  return SetCallback(engine, &karst_engine::on_skipped, callback, user);
}

karst_reader* karst_reader_new(karst_encoding encoding) { return Make<karst_reader>(encoding); }

void karst_reader_free(karst_reader* reader) { delete reader; }

karst_status karst_reader_open(karst_reader* reader, const char* file, size_t file_length) {
  const Bytes name{file, file_length};
  if (!reader) return KARST_ERROR_ARGUMENT;
  return Guarded(reader->last_failure, [&] {
    if (!name.IsText()) throw karst::capi::Failure{KARST_ERROR_ARGUMENT, {}};
    return reader->Open(name.View());
  });
}

karst_status karst_reader_next(karst_reader* reader) {
  if (!reader) return KARST_ERROR_ARGUMENT;
  return Guarded(reader->last_failure, [&] { return reader->Next(); });
}

const char* karst_reader_text(const karst_reader* reader, size_t* length) {
  return reader ? Given(reader->Text(), length) : NothingGiven(length);
}

const char* karst_reader_raw(const karst_reader* reader, size_t* length) {
  return reader ? Given(reader->RawBytes(), length) : NothingGiven(length);
}

const char* karst_reader_reason(const karst_reader* reader, size_t* length) {
  return reader ? Given(reader->Reason(), length) : NothingGiven(length);
}

uint64_t karst_reader_offset(const karst_reader* reader) { return reader ? reader->Offset() : 0; }

uint64_t karst_reader_position(const karst_reader* reader) { return reader ? reader->Position() : 0; }

uint64_t karst_reader_size(const karst_reader* reader) { return reader ? reader->Size() : 0; }

const char* karst_reader_error_text(const karst_reader* reader, size_t* length) {
  return reader ? Given(reader->last_failure.Text(), length) : NothingGiven(length);
}
