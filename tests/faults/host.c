/* A host on the C interface that is run with faults: it uses everything three times, of which the second time is
 * struck. Statuses and texts of that time go out as those of any program; the third time has to be whole again, and
 * when all is freed there are as many blocks and descriptors as before. 99: that does not hold. */
#include <karst/karst.h>

#include <dirent.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

/* Given by the library that makes the faults. */
void karst_faults_arm(int on) __attribute__((weak));
long karst_faults_blocks(void) __attribute__((weak));

struct Collected {
  char bytes[1 << 20];
  size_t length;
};

struct Host {
  karst_engine* engine;
  karst_reader* reader;
  struct Collected* collected;
  karst_status status; /* the first that is a failure */
  char failure[2000];
};

static void Collect(void* user, const char* text, size_t length) {
  struct Collected* collected = user;
  if (length > sizeof collected->bytes - collected->length) abort();
  memcpy(collected->bytes + collected->length, text, length);
  collected->length += length;
}

static int Good(struct Host* host, const char* what, karst_status status, const char* error) {
  if (status >= KARST_OK) return 1;
  host->status = status;
  snprintf(host->failure, sizeof host->failure, "%s: %s: %s", what, karst_status_text(status), error);
  return 0;
}

static int Ask(struct Host* host, const char* what, karst_status status) {
  char error[1000];
  snprintf(error, sizeof error, "line %d: %s", karst_error_line(host->engine), karst_error_text(host->engine, NULL));
  return Good(host, what, status, error);
}

static int Convert(struct Host* host, const char* record, size_t length) {
  static char iso[9999], back[9999];
  size_t iso_length, back_length;
  if (!Good(host, "to", karst_to_iso2709(record, length, iso, sizeof iso, &iso_length), "")) return 0;
  Collect(host->collected, iso, iso_length);
  return Good(host, "from", karst_from_iso2709(iso, iso_length, back, sizeof back, &back_length), "");
}

static int ReadAll(struct Host* host) {
  karst_status status;
  while ((status = karst_reader_next(host->reader)) == KARST_OK) {
    size_t length, output_length;
    const char* output;
    const char* record = karst_reader_text(host->reader, &length);
    if (!Ask(host, "record", karst_filter_record(host->engine, record, length, &output, &output_length))) return 0;
    Collect(host->collected, output, output_length);
    if (!Convert(host, record, length)) return 0;
  }
  return Good(host, "books.iso", status, karst_reader_error_text(host->reader, NULL));
}

#define TEXT(text) text, strlen(text)

/* Gives 1 if all went well. */
static int UseAll(struct Host* host, const char* target) {
  int result;
  size_t length;
  const char* value;
  host->collected->length = 0;
  host->status = KARST_OK;
  if (!host->engine) host->engine = karst_engine_new(KARST_UTF8);
  if (!host->reader) host->reader = karst_reader_new(KARST_UTF8);
  if (!host->engine || !host->reader) return Good(host, "new", KARST_ERROR_MEMORY, "");
  karst_on_message(host->engine, Collect, host->collected);
  karst_on_output(host->engine, Collect, host->collected);
  if (!Ask(host, "load", karst_load_filter(host->engine, TEXT("titles.flt"))) ||
      !Ask(host, "set", karst_set_variable(host->engine, TEXT("HyperFn"), TEXT(target))) ||
      !Ask(host, "get", karst_get_variable(host->engine, TEXT("HyperFn"), &value, &length)) ||
      !Ask(host, "file", karst_filter_file(host->engine, TEXT("books.iso"))) ||
      !Ask(host, "script", karst_run_script(host->engine, TEXT("texts.pro"), &result))) {
    return 0;
  }
  const karst_status status = karst_reader_open(host->reader, TEXT("books.iso"));
  return Good(host, "open", status, karst_reader_error_text(host->reader, NULL)) && ReadAll(host);
}

static void Free(struct Host* host) {
  karst_reader_free(host->reader);
  karst_engine_free(host->engine);
  host->reader = NULL;
  host->engine = NULL;
}

static int CountDescriptors(void) {
  int count = 0;
  DIR* folder = opendir("/proc/self/fd");
  while (readdir(folder)) ++count;
  closedir(folder);
  return count;
}

int main(void) {
  static struct Collected collected, struck;
  static struct Host host = {.collected = &collected};
  const int warm = UseAll(&host, "before.txt");
  karst_set_variable(host.engine, NULL, 0, NULL, 0); /* the first exception of a program takes memory that stays */
  Free(&host);
  const long blocks = karst_faults_blocks ? karst_faults_blocks() : 0;
  const int descriptors = CountDescriptors();
  if (karst_faults_arm) karst_faults_arm(1);
  host.collected = &struck;
  const int good = UseAll(&host, "out.txt");
  if (karst_faults_arm) karst_faults_arm(0);
  if (!good) fprintf(stderr, "%s\n", host.failure);
  host.collected = &collected;
  const int again = UseAll(&host, "after.txt");
  if (!again) fprintf(stderr, "not to be used again: %s\n", host.failure);
  Free(&host);
  const long left = (karst_faults_blocks ? karst_faults_blocks() : 0) - blocks;
  const int open = CountDescriptors() - descriptors;
  if (left || open) fprintf(stderr, "%ld blocks and %d descriptors are left\n", left, open);
  fwrite(struck.bytes, 1, struck.length, stdout);
  if (!warm || !again || left || open) return 99;
  return good ? 0 : 1;
}
