/* Runs a filter over each record of a file and prints what it leaves in "soutput". Usage: c_host FILTER RECORDS */
#include <karst/karst.h>
#include <stdio.h>
#include <string.h>

int main(int argc, char** argv) {
  karst_engine* engine = karst_engine_new(KARST_UTF8);
  karst_reader* reader = karst_reader_new(KARST_UTF8);
  karst_status status;
  int failures = 0;
  if (argc != 3 || karst_load_filter(engine, argv[1], strlen(argv[1])) != KARST_OK ||
      karst_reader_open(reader, argv[2], strlen(argv[2])) != KARST_OK) {
    fprintf(stderr, "usage: c_host FILTER RECORDS %s%s\n", karst_error_text(engine, NULL),
            karst_reader_error_text(reader, NULL));
    return 2;
  }
  while ((status = karst_reader_next(reader)) == KARST_OK || status == KARST_SKIPPED) {
    size_t record_length, length;
    const char* record = karst_reader_text(reader, &record_length);
    const char* output;
    if (status == KARST_SKIPPED) {
      fprintf(stderr, "passed over: %s\n", karst_reader_reason(reader, NULL));
      ++failures;
    } else if (karst_filter_record(engine, record, record_length, &output, &length) == KARST_OK) {
      printf("%.*s\n", (int)length, output);
    } else {
      fprintf(stderr, "line %d: %s\n", karst_error_line(engine), karst_error_text(engine, NULL));
      ++failures;
    }
  }
  if (status != KARST_END) fprintf(stderr, "%s\n", karst_reader_error_text(reader, NULL));
  karst_reader_free(reader);
  karst_engine_free(engine);
  return status == KARST_END && failures == 0 ? 0 : 1;
}
