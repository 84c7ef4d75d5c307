/* The C interface from C, against the shared library: the header is C, its names are there, a run goes through. */
#include <karst/karst.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#define CHECK(condition)                                                      \
  do {                                                                        \
    if (!(condition)) {                                                       \
      fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
      exit(1);                                                                \
    }                                                                         \
  } while (0)

static void WriteText(const char* name, const char* text) {
  FILE* file = fopen(name, "wb");
  CHECK(file && fputs(text, file) >= 0 && fclose(file) == 0);
}

static void Count(void* user, const char* text, size_t length) {
  (void)text;
  *(size_t*)user += length;
}

int main(void) {
  static const char kFilter[] = "c_test.flt", kRecords[] = "c_test.mrc";
  static const char kRecord[] =
      "00000nam0 2200000   450 200  \x1f"
      "a\xE4\xB8\xAD\x1e\x1d";
  const char* output;
  char iso[100], back[100];
  size_t length, printed = 0;
  karst_engine* engine = karst_engine_new(KARST_UTF8);
  karst_reader* reader = karst_reader_new(KARST_UTF8);
  CHECK(engine && reader && strlen(karst_version()) >= 5);
  CHECK(strcmp(karst_status_text(KARST_ERROR_MEMORY), "out of memory") == 0);

  WriteText(kFilter, "Record {\r\nField \"200\" {\r\nsoutput = _FIELD\r\n}\r\nprintf(\"%s\", _RECORD)\r\n}\r\n");
  CHECK(karst_on_message(engine, Count, &printed) == KARST_OK);
  CHECK(karst_load_filter(engine, kFilter, strlen(kFilter)) == KARST_OK);
  CHECK(karst_filter_record(engine, kRecord, strlen(kRecord), &output, &length) == KARST_OK);
  CHECK(length == 5 && memcmp(output,
                              "\x1f"
                              "a\xE4\xB8\xAD",
                              6) == 0);
  CHECK(printed == strlen(kRecord));

  CHECK(karst_to_iso2709(kRecord, strlen(kRecord), iso, sizeof iso, &length) == KARST_OK);
  CHECK(karst_from_iso2709(iso, length, back, sizeof back, &length) == KARST_OK);
  CHECK(length == strlen(kRecord) && memcmp(back + 24, kRecord + 24, length - 24) == 0);

  WriteText(kRecords,
            "00000nam0 2200000   450 200  \x1f"
            "ab\x1e\x1d");
  CHECK(karst_filter_file(engine, kRecords, strlen(kRecords)) == KARST_ERROR_SCRIPT || printed > strlen(kRecord));
  CHECK(karst_reader_open(reader, kRecords, strlen(kRecords)) == KARST_OK);
  CHECK(karst_reader_next(reader) == KARST_OK && karst_reader_next(reader) == KARST_END);
  CHECK(karst_run_script(engine, "none.pro", 8, NULL) == KARST_ERROR_FILE);
  karst_reader_free(reader);
  karst_engine_free(engine);
  CHECK(remove(kFilter) == 0 && remove(kRecords) == 0);
  return 0;
}
