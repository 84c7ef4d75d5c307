/* The C interface from C, against the shared library: the header is C, its names are there, a run goes through. */
#include <karst/karst.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void Check(int condition, int line) {
  if (condition) return;
  fprintf(stderr, "line %d: not so\n", line);
  exit(1);
}
#define CHECK(condition) Check(condition, __LINE__)

static void Count(void* user, const char* text, size_t length) { *(size_t*)user += text ? length : 0; }

int main(void) {
  static const char kRecord[] = "00000nam0 2200000   450 200  \x1f\x61\xE4\xB8\xAD\x1e\x1d";
  static const char kFilter[] = "Record {\r\nsoutput = _RECORD\r\nprintf(\"%s\", _RECORD)\r\n}\r\n";
  const char* output;
  size_t length, printed = 0;
  karst_engine* engine = karst_engine_new(KARST_UTF8);
  karst_reader* reader = karst_reader_new(KARST_UTF8);
  FILE* file = fopen("c_test.flt", "wb");
  CHECK(engine && reader && strlen(karst_version()) >= 5);
  CHECK(strcmp(karst_status_text(KARST_ERROR_MEMORY), "out of memory") == 0);
  CHECK(file && fputs(kFilter, file) >= 0 && fclose(file) == 0);
  CHECK(karst_on_message(engine, Count, &printed) == KARST_OK);
  CHECK(karst_load_filter(engine, "c_test.flt", 10) == KARST_OK);
  CHECK(karst_filter_record(engine, kRecord, strlen(kRecord), &output, &length) == KARST_OK);
  CHECK(length == strlen(kRecord) && memcmp(output, kRecord, length + 1) == 0 && printed == length);
  CHECK(karst_run_script(engine, "none.pro", 8, NULL) == KARST_ERROR_FILE);
  CHECK(karst_reader_open(reader, "none.mrc", 8) == KARST_ERROR_FILE);
  karst_reader_free(reader);
  karst_engine_free(engine);
  return remove("c_test.flt");
}
