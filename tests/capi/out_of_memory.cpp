// The library when memory runs out: each allocation of a whole use of it fails once, and again from there on. What
// comes out is what comes out otherwise, or that there is no memory; and what can be used again serves on when there is
// some.
#include <karst/karst.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>
#include <string>

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
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }

namespace {

constexpr char kFilter[] = "oom_test.flt", kRecords[] = "oom_test.mrc", kScript[] = "oom_test.pro";
constexpr char kRecord[] =
    "00000nam0 2200000   450 200  \x1f"
    "a\xF0\x9F\x98\x80 a text of some length, which needs memory\x1e\x1d";

void Write(const char* name, const char* text) {
  FILE* file = std::fopen(name, "wb");
  if (!file || std::fputs(text, file) < 0 || std::fclose(file) != 0) std::exit(2);
}

// A loop, so that its statements are run from the text and from what is remembered of it, over built-ins of most
// families.
constexpr char kProgram[] =
    "int i = 0\r\nstring s\r\nstring t\r\nint h = DBCreate(2)\r\nloop i < 4\r\n"
    "s = \"http://host/p?a=1&b=<a value of some length>\"\r\nt = s + s\r\nt << \"more of it\"\r\n"
    "URLDelParam(&s, 0, \"a\")\r\nHTMLString(&s)\r\nCanonicalizeURL(&s)\r\nEscapeString(&s, \"abc\")\r\n"
    "StrReplace(&s, \"a\", \"another part\")\r\nLineBreak(&t, 20, \"<br>\", \"<>\")\r\nStrCat(&t, s)\r\n"
    "DBWrite(h, s, 1, i, t)\r\nDBRead(h, 0, &s, 1, &i, &t)\r\n"
    "{\r\nstring x = \"a text that needs memory, of its own\"\r\nsprintf(&x, \"%s %60d %d\", s, StrLen(t), i)\r\n"
    "printf(\"%s %s\\r\\n\", x, t)\r\n}\r\n"
    "VerifyISBN(\"7-5044-1234-5 and more than there should be\", &t)\r\nprintf(\"%s\\r\\n\", t)\r\n"
    "FnCat(\"oom_test.out\", s)\r\nprintf(\"%d\", bmprintf(\"oom_test.text\", \"\", t))\r\n"
    "i = i + 1\r\nendloop\r\n"
    // Its last allocation is that of a text that grows in line 32, and is told there.
    "i = 0\r\nloop i < 300\r\ni = i + 1\r\nt << \"a text that makes it longer\"\r\nendloop\r\n";
constexpr int kLastLine = 32;

// What came out, in memory that does not fail.
char shown[1 << 16];
size_t shown_size;

void Show(void*, const char* text, size_t length) {
  length = std::min(length, sizeof shown - 1 - shown_size);
  std::memcpy(shown + shown_size, text, length);
  shown[shown_size += length] = 0;
}
int ShowBox(void*, const char* text, size_t length) { return Show(nullptr, text, length), 1; }

bool told_last_line = false;

bool TellsOfMemory() { return std::strstr(shown, "mem low") || std::strstr(shown, "malloc error"); }

enum class Came { kAll, kNoMemory, kWrong };

// The C interface, all of it. A call that fails may make others fail: only the first one has to say why.
class Interface {
 public:
  Interface() {
    karst_on_message(engine_, Show, nullptr);
    karst_on_message_box(engine_, ShowBox, nullptr);
  }
  Interface(const Interface&) = delete;
  Interface& operator=(const Interface&) = delete;
  ~Interface() {
    karst_reader_free(reader_);
    karst_engine_free(engine_);
  }
  Came Use() {
    const char* text;
    size_t length;
    char iso[300], back[300];
    const karst_status given[] = {
        karst_load_filter(engine_, kFilter, std::strlen(kFilter)),
        karst_set_variable(engine_, "soutput", 7, "", 0),
        karst_set_variable(engine_, "kept", 4, kRecord, std::strlen(kRecord)),
        karst_filter_record(engine_, kRecord, std::strlen(kRecord), &text, &length),
        karst_get_variable(engine_, "kept", 4, &text, &length),
        karst_filter_file(engine_, kRecords, std::strlen(kRecords)),
        karst_run_script(engine_, kScript, std::strlen(kScript), nullptr),
        karst_reader_open(reader_, kRecords, std::strlen(kRecords)),
        karst_reader_next(reader_),
        karst_to_iso2709(kRecord, std::strlen(kRecord), iso, sizeof iso, &length),
        karst_from_iso2709(iso, length, back, sizeof back, &length),
    };
    if (given[6] == KARST_ERROR_MEMORY && karst_error_line(engine_) == kLastLine) told_last_line = true;
    for (karst_status status : given) {
      if (status != KARST_OK) return status == KARST_ERROR_MEMORY ? Came::kNoMemory : Came::kWrong;
    }
    return Came::kAll;
  }

 private:
  karst_engine* engine_ = karst_engine_new(KARST_UTF8);
  karst_reader* reader_ = karst_reader_new(KARST_UTF8);
};

// One use with the allocation failing, and one after it. False after a message.
bool FailAt(long allocation, bool stays, const std::string& expected, bool& reached) {
  Interface user;
  shown[shown_size = 0] = 0;
  until_failure = allocation;
  stays_failed = stays;
  const Came came = user.Use();
  reached = until_failure == 0 || (until_failure < 0 && !stays);
  until_failure = -1;
  const bool told = came == Came::kNoMemory || TellsOfMemory() || (came == Came::kAll && shown == expected);
  shown[shown_size = 0] = 0;
  const bool good = told && user.Use() == Came::kAll && shown == expected;
  if (!good) std::fprintf(stderr, "allocation %ld%s\n", allocation, stays ? " and all after" : "");
  return good;
}

}  // namespace

int main() {
  Write(kFilter,
        "string text = \"a text of some length, which needs memory\"\r\nRecord {\r\nField \"200\" {\r\n"
        "soutput = kept + _FIELD + text\r\nprintf(\"%s\", soutput)\r\n}\r\n}\r\n");
  Write(kRecords,
        "00000nam0 2200000   450 200  \x1f"
        "ab\x1e\x1d");
  Write(kScript, kProgram);
  bool good = Interface().Use() == Came::kAll;
  const std::string expected = shown;
  const int descriptor = dup(STDERR_FILENO);
  close(descriptor);
  for (bool stays : {false, true}) {
    bool reached = true;
    for (long allocation = 0; reached && good; ++allocation) good = FailAt(allocation, stays, expected, reached);
  }
  const int after = dup(STDERR_FILENO);  // each descriptor that stays open moves it on
  if (after != descriptor) good = false, std::fprintf(stderr, "a file stays open\n");
  if (!told_last_line) good = false, std::fprintf(stderr, "line %d is not told\n", kLastLine);
  for (const char* name : {kFilter, kRecords, kScript, "oom_test.out", "oom_test.text"}) std::remove(name);
  return good ? 0 : 1;
}
