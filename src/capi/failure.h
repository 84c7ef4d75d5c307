// How a call of the C interface fails inside: by a Failure, which the edge turns into a status and an error text.
#pragma once

#include <karst/karst.h>

#include <exception>
#include <new>
#include <string>

#include "capi/hosttext.h"

namespace karst::capi {

struct Failure {
  karst_status status;
  // In the encoding of the handle, apart from names of files, which may be any bytes. Empty: the status says it all.
  std::string text;
  int line = 0;
};

// What a handle keeps of its last failure.
class LastFailure {
 public:
  explicit LastFailure(karst_encoding encoding) : encoding_(encoding) {}
  karst_status Keep(karst_status status, std::string_view text, int line) noexcept {
    line_ = line;
    try {
      text_ = ShownOutside(text.empty() ? karst_status_text(status) : text, encoding_);
    } catch (...) {
      text_.clear();
    }
    return status;
  }
  const std::string& Text() const { return text_; }
  int Line() const { return line_; }

 private:
  karst_encoding encoding_;
  std::string text_;
  int line_ = 0;
};

// Runs the body of a call, which gives a status, and lets nothing out but a status.
template <typename Body>
karst_status Guarded(LastFailure& last, Body body) noexcept {
  try {
    return body();
  } catch (const Failure& failure) {
    return last.Keep(failure.status, failure.text, failure.line);
  } catch (const std::bad_alloc&) {
    return last.Keep(KARST_ERROR_MEMORY, {}, 0);
  } catch (const std::exception& error) {
    return last.Keep(KARST_ERROR_INTERNAL, error.what(), 0);
  } catch (...) {
    return last.Keep(KARST_ERROR_INTERNAL, {}, 0);
  }
}

// A text that comes out: the pointer, and the length where it is asked for.
inline const char* Given(const std::string& text, size_t* length) {
  if (length) *length = text.size();
  return text.c_str();
}
inline const char* NothingGiven(size_t* length) {
  if (length) *length = 0;
  return "";
}

}  // namespace karst::capi
