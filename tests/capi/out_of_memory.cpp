// The C interface when memory runs out: each allocation of a whole use of it fails once, and again from there on. What
// comes out is a status, and the handles serve on when there is memory again.
#include <karst/karst.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>

namespace {

long until_failure = -1;  // below 0: no allocation fails
bool stays_failed = false;

void* Allocate(size_t size) noexcept {
  if (until_failure == 0) {
    if (!stays_failed) until_failure = -1;
    return nullptr;
  }
  if (until_failure > 0) --until_failure;
  return std::malloc(size ? size : 1);
}

}  // namespace

void* operator new(size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](size_t size) { return operator new(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }

namespace {

constexpr char kFilter[] = "oom_test.flt", kRecords[] = "oom_test.mrc";
constexpr char kRecord[] =
    "00000nam0 2200000   450 200  \x1f"
    "a\xF0\x9F\x98\x80 a text of some length, which needs memory\x1e\x1d";

void Write(const char* name, const char* text) {
  FILE* file = std::fopen(name, "wb");
  if (!file || std::fputs(text, file) < 0 || std::fclose(file) != 0) std::exit(2);
}

void Ignore(void*, const char*, size_t) {}

// Everything once. True if nothing failed; out of memory shows as that and nothing else.
bool UseAll(karst_engine* engine, karst_reader* reader) {
  const char* text;
  size_t length;
  char iso[300], back[300];
  const karst_status given[] = {
      karst_load_filter(engine, kFilter, std::strlen(kFilter)),
      karst_set_variable(engine, "kept", 4, kRecord, std::strlen(kRecord)),
      karst_filter_record(engine, kRecord, std::strlen(kRecord), &text, &length),
      karst_get_variable(engine, "kept", 4, &text, &length),
      karst_filter_file(engine, kRecords, std::strlen(kRecords)),
      karst_reader_open(reader, kRecords, std::strlen(kRecords)),
      karst_reader_next(reader),
      karst_to_iso2709(kRecord, std::strlen(kRecord), iso, sizeof iso, &length),
      karst_from_iso2709(iso, length, back, sizeof back, &length),
  };
  bool good = true;
  for (karst_status status : given) good = good && status == KARST_OK;
  return good;
}

bool FailAt(long allocation, bool stays, bool* reached) {
  karst_engine* engine = karst_engine_new(KARST_UTF8);
  karst_reader* reader = karst_reader_new(KARST_UTF8);
  karst_on_message(engine, Ignore, nullptr);
  until_failure = allocation;
  stays_failed = stays;
  const bool good = UseAll(engine, reader);
  *reached = until_failure == 0 || (until_failure < 0 && !stays);
  until_failure = -1;
  const bool good_again = UseAll(engine, reader);
  if (!good_again) std::fprintf(stderr, "allocation %ld: %s\n", allocation, karst_error_text(engine, nullptr));
  karst_reader_free(reader);
  karst_engine_free(engine);
  return good_again && (good || *reached);
}

}  // namespace

int main() {
  Write(kFilter,
        "string text = \"a text of some length, which needs memory\"\r\nRecord {\r\nField \"200\" {\r\n"
        "soutput = kept + _FIELD + text\r\nprintf(\"%s\", soutput)\r\n}\r\n}\r\n");
  Write(kRecords,
        "00000nam0 2200000   450 200  \x1f"
        "ab\x1e\x1d");
  karst_engine* engine = karst_engine_new(KARST_UTF8);
  karst_reader* reader = karst_reader_new(KARST_UTF8);
  const char set[] = "soutput";
  bool good = karst_set_variable(engine, set, 7, "", 0) == KARST_OK && UseAll(engine, reader);
  karst_reader_free(reader);
  karst_engine_free(engine);
  bool reached = true;
  for (bool stays : {false, true}) {
    reached = true;
    for (long allocation = 0; reached && good; ++allocation) good = FailAt(allocation, stays, &reached);
  }
  std::remove(kFilter);
  std::remove(kRecords);
  return good ? 0 : 1;
}
