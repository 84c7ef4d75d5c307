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
#include <typeinfo>

#include "marc/marcflt.h"
#include "windows/window.h"

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
    // The last allocation of all is that of a text that grows in line 32, and is told there.
    "i = 0\r\nloop i < 300\r\ni = i + 1\r\nt << \"a text that makes it longer\"\r\nendloop\r\n";
constexpr char kLastTold[] = "32\xD0\xD0: mem low...";

// What came out, in memory that does not fail.
char shown[1 << 16];
size_t shown_size;

void Show(void*, const char* text, size_t length) {
  length = std::min(length, sizeof shown - 1 - shown_size);
  std::memcpy(shown + shown_size, text, length);
  shown[shown_size += length] = 0;
}
int ShowBox(void*, const char* text, size_t length) { return Show(nullptr, text, length), 1; }

class ShowingControl : public karst::Window {
 public:
  karst::MessageLong OnMessage(unsigned message, karst::MessageWord, karst::MessageLong l) override {
    const char* const text = reinterpret_cast<const char*>(l);
    if (message == karst::kReplaceSelection) Show(nullptr, text, std::strlen(text));
    return message == karst::kGetLineCount ? 1 : 0;
  }
};

std::string last_told;  // by the last use whose allocation failed

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
    for (karst_status status : given) {
      if (status != KARST_OK) return status == KARST_ERROR_MEMORY ? Came::kNoMemory : Came::kWrong;
    }
    return Came::kAll;
  }

 private:
  karst_engine* engine_ = karst_engine_new(KARST_UTF8);
  karst_reader* reader_ = karst_reader_new(KARST_UTF8);
};

// A whole run of a script. A message that there is no memory may itself be too much; -1 it is in any case.
class WholeRun {
 public:
  Came Use() {
    if (RunKarstPro(kScript, control_) == 0) return Came::kAll;
    return stays_failed || shown_size == 0 || TellsOfMemory() ? Came::kNoMemory : Came::kWrong;
  }

 private:
  HWND control_ = karst::AddWindow(std::make_unique<ShowingControl>());
};

// One record after the other, through the classes.
class Records {
 public:
  Records() {
    filter_.Initial(kFilter), filter_.m_pTree->SafeSetVar("kept", "a text of the host's, kept for its filter");
  }
  Came Use() {
    if (filter_.Run(record_, output_) == 0) return Show(nullptr, output_, output_.size()), Came::kAll;
    filter_.m_pTree->CloseAfterError();
    return stays_failed || TellsOfMemory() ? Came::kNoMemory : Came::kWrong;
  }

 private:
  CMARCFLT filter_;
  const CString record_{kRecord};
  CString output_;
};

// Each descriptor that stays open moves it on.
int LowestFreeDescriptor() {
  const int free_one = dup(STDERR_FILENO);
  close(free_one);
  return free_one;
}

// One use with the allocation failing, and one after it. False after a message.
template <typename User>
bool FailAt(long allocation, bool stays, const std::string& expected, bool& reached) {
  User user;
  shown[shown_size = 0] = 0;
  until_failure = allocation;
  stays_failed = stays;
  const Came came = user.Use();
  reached = until_failure == 0 || (until_failure < 0 && !stays);
  until_failure = -1;
  const bool told = came == Came::kNoMemory || TellsOfMemory() || (came == Came::kAll && shown == expected);
  if (came == Came::kNoMemory && !stays) last_told = shown;
  shown[shown_size = 0] = 0;
  const bool good = told && user.Use() == Came::kAll && shown == expected;
  if (!good)
    std::fprintf(stderr, "%s, allocation %ld%s\n", typeid(User).name(), allocation, stays ? " and all after" : "");
  return good;
}

template <typename User>
bool FailEverywhere() {
  shown[shown_size = 0] = 0;
  User user;
  if (user.Use() != Came::kAll) return std::fprintf(stderr, "%s\n", shown), false;
  const std::string expected = shown;
  const int descriptor = LowestFreeDescriptor();
  bool good = true;
  for (bool stays : {false, true}) {
    bool reached = true;
    for (long allocation = 0; reached && good; ++allocation) good = FailAt<User>(allocation, stays, expected, reached);
  }
  if (LowestFreeDescriptor() != descriptor) good = false, std::fprintf(stderr, "a file stays open\n");
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
  karst::SetMessageBoxHandler(
      [](HWND, const char* text, const char*, unsigned) { return ShowBox(nullptr, text, std::strlen(text)); });
  bool good = FailEverywhere<WholeRun>() && last_told.find(kLastTold) != std::string::npos;
  if (!good) std::fprintf(stderr, "%s\n", last_told.c_str());
  good = FailEverywhere<Interface>() && FailEverywhere<Records>() && good;
  for (const char* name : {kFilter, kRecords, kScript, "oom_test.out", "oom_test.text"}) std::remove(name);
  return good ? 0 : 1;
}
