/* karst.h: the C interface of libkarst: scripts and filters run, records read and converted, from any language.
 *
 * Texts. A text goes in as a pointer and a length in bytes and need not end in NUL; a null pointer with the length 0 is
 * the empty text. A text comes out as a pointer and a length, and a NUL that the length does not count follows it.
 * Texts that come out belong to the handle they came from: they stay as they are until the next call on that handle,
 * other than karst_stop and the functions that only look (those with a const handle), or until the handle is freed.
 * Texts handed to a callback are valid during the callback.
 *
 * Encoding. Inside, everything is GBK. A handle made with KARST_UTF8 takes and gives all its texts in UTF-8, and
 * nothing gets lost on the way: a character that GBK has no place for stands inside as a numeric reference,
 * "&#128512;", and comes out as the character; a byte inside that is no GBK comes out as one of the characters U+10F781
 * to U+10F7FF (its value added to U+10F700) and is that byte again when it goes in. The host's own text may hold these
 * characters too: one that would be taken for half a character inside goes in as a reference. Bytes that are no UTF-8
 * are refused with KARST_ERROR_TEXT. A handle made with KARST_GBK takes and gives the bytes as they are.
 *
 * Records. A record goes in and comes out in the internal form: a 24-byte header; fields, each a 3-byte tag, the body
 * (two indicators and subfields, or data) and the byte 0x1E; the byte 0x1D. A subfield is the byte 0x1F, its code and
 * its data. karst_to_iso2709 and karst_from_iso2709 lead to and from the interchange format.
 *
 * Failure. A function that can fail gives a karst_status, below 0 for a failure. No C++ exception leaves this library.
 * karst_error_text and karst_reader_error_text tell what was wrong with the last failing call on a handle.
 *
 * Threads. A handle serves one thread at a time, not always the same one; two handles may be used on two threads with
 * no lock. karst_stop alone may be called while another thread uses the handle. Callbacks come on the thread that made
 * the call. A callback must return: it may not throw, longjmp or end its thread. It may call functions of other
 * handles; of its own handle only karst_stop and those with a const handle, all others give KARST_ERROR_BUSY.
 *
 * Every function takes a null handle: it does nothing, and gives KARST_ERROR_ARGUMENT, 0, or the empty text.
 */
#ifndef KARST_KARST_H
#define KARST_KARST_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define KARST_EXPORT __attribute__((visibility("default")))
#else
#define KARST_EXPORT
#endif

/* An enumeration of this interface holds any int, in C++ as in C: a host may hand in what is none of its names. */
#ifdef __cplusplus
#define KARST_ANY_INT : int
extern "C" {
#else
#define KARST_ANY_INT
#endif

/* What a call came to. */
typedef enum karst_status KARST_ANY_INT {
  KARST_OK = 0,
  KARST_END = 1,              /* karst_reader_next: there is no further record */
  KARST_SKIPPED = 2,          /* karst_reader_next: a stretch of the file is no record and was passed over */
  KARST_STOPPED = 3,          /* karst_stop, or a progress callback, ended the run early */
  KARST_ERROR_ARGUMENT = -1,  /* a null handle or pointer, an encoding that is none, a file name with a NUL in it */
  KARST_ERROR_FILE = -2,      /* a file cannot be opened, read or written */
  KARST_ERROR_SCRIPT = -3,    /* the script or filter is at fault: see the error text and line */
  KARST_ERROR_TEXT = -4,      /* bytes that are no UTF-8 */
  KARST_ERROR_RECORD = -5,    /* a record that cannot be converted */
  KARST_ERROR_ROOM = -6,      /* the result does not fit the buffer */
  KARST_ERROR_NO_FILTER = -7, /* no filter is loaded */
  KARST_ERROR_BUSY = -8,      /* called from a callback of the same handle */
  KARST_ERROR_MEMORY = -9,    /* out of memory */
  KARST_ERROR_INTERNAL = -10  /* anything else */
} karst_status;

/* The encoding of a handle's texts. */
typedef enum karst_encoding KARST_ANY_INT { KARST_GBK = 0, KARST_UTF8 = 1 } karst_encoding;

/* The library's version, as "0.1.0". The text lives as long as the library. Never fails. */
KARST_EXPORT const char* karst_version(void);

/* A short English name of a status, as "out of memory"; "unknown status" for any other number. The text lives as long
 * as the library. Never fails. */
KARST_EXPORT const char* karst_status_text(karst_status status);

/* ---- Engines: what runs scripts and filters ---------------------------------------------------------------------- */

/* An engine holds at most one filter, the variables that the host gave it, and its callbacks.
 *
 * Output that is lost. Scripts and filters write to files by name (fnprintf, FnCat, bmprintf); these are closed at the
 * end of each call that runs code. Where one of them cannot be opened, does not take the whole text or fails at its
 * closing, the call gives KARST_ERROR_FILE in the place of KARST_OK and of KARST_STOPPED, after the run, which goes on
 * as the script wants it; also where the script has looked at the -1 that it got. The error text names the file that
 * failed first, and the number of others. What was written otherwise, and all that went to callbacks, is there. A call
 * that fails for another reason gives that one. */
typedef struct karst_engine karst_engine;

/* Makes an engine, to be freed with karst_engine_free. Null for an encoding that is none and without memory. */
KARST_EXPORT karst_engine* karst_engine_new(karst_encoding encoding);

/* Frees an engine and all texts that came from it. Null is nothing to free. Not from a callback of the engine: nothing
 * is freed then. */
KARST_EXPORT void karst_engine_free(karst_engine* engine);

/* Runs the script (.pro) in a file, from a fresh start: nothing of an earlier script is there. `result` (may be null)
 * gets the script's result: 0, or the number of its "stop". Blocks until the script is over.
 *
 * KARST_OK, also for a script that ended with "stop -1"; KARST_STOPPED; KARST_ERROR_FILE, also for lost output,
 * KARST_ERROR_SCRIPT and the general errors; `result` is then left as it was. */
KARST_EXPORT karst_status karst_run_script(karst_engine* engine, const char* file, size_t file_length, int* result);

/* Loads the filter (.flt) in a file, in the place of the one that is loaded, and builds its tree. The file is read
 * afresh each time. After a failure, other than that of a null pointer or a busy engine, no filter is loaded. The
 * host's variables stay. */
KARST_EXPORT karst_status karst_load_filter(karst_engine* engine, const char* file, size_t file_length);

/* Runs the loaded filter over one record in the internal form: its Root code, its Record block and its Final code. The
 * variable "soutput" is emptied first, and `output` and `output_length` (each may be null) get what the filter left in
 * it. A filter uses "soutput" without declaring it.
 *
 * Each record stands for itself: what a failed run left behind is cleared away ahead of the next one. State that is to
 * outlast a record lives in variables of the host (karst_set_variable).
 *
 * KARST_OK; KARST_STOPPED, with the output so far; and with no output: KARST_ERROR_NO_FILTER; KARST_ERROR_RECORD for a
 * record with a NUL in it, which would end it there; KARST_ERROR_FILE where something was lost that the filter writes
 * to files; KARST_ERROR_SCRIPT, also where the filter ended the run with "stop -1" or "soutput" is no text variable any
 * more; the general errors. After each of them the next record can be filtered. */
KARST_EXPORT karst_status karst_filter_record(karst_engine* engine, const char* record, size_t length,
                                              const char** output, size_t* output_length);

/* Runs the loaded filter over all records of a file: Root code once, the Record block for each record, Final code once.
 * What the file holds that is no record is passed over; see karst_on_skipped. Blocks until the run is over.
 *
 * KARST_OK; KARST_STOPPED, after the records so far; KARST_ERROR_NO_FILTER; KARST_ERROR_FILE, also for lost output,
 * once all records have been run; KARST_ERROR_SCRIPT, also where a filter without a Record block ended the run with
 * "stop -1"; the general errors. */
KARST_EXPORT karst_status karst_filter_file(karst_engine* engine, const char* file, size_t file_length);

/* Gives a text variable a value, and makes it if there is none. It stands outside all scopes of the loaded filter and
 * of filters loaded later, which use it without declaring it, and keeps its value from run to run. "HyperFn" is by
 * custom the file that a filter writes to. Scripts do not see it. A name is significant to 29 bytes.
 *
 * KARST_OK; KARST_ERROR_ARGUMENT for an empty name and for a NUL in the name or the value; KARST_ERROR_SCRIPT if there
 * are too many variables; the general errors. */
KARST_EXPORT karst_status karst_set_variable(karst_engine* engine, const char* name, size_t name_length,
                                             const char* value, size_t value_length);

/* Reads such a variable. KARST_ERROR_ARGUMENT, with `value` and `value_length` left as they were, if there is none of
 * that name that holds a text. */
KARST_EXPORT karst_status karst_get_variable(karst_engine* engine, const char* name, size_t name_length,
                                             const char** value, size_t* value_length);

/* Asks the run that the engine is in to end at its next statement, field or record. May be called from any thread and
 * from a signal handler, as long as the engine is not freed. Without a run it does nothing. */
KARST_EXPORT void karst_stop(karst_engine* engine);

/* What was wrong with the last call on the engine that failed; the empty text when none has failed. For a script error
 * the text is the message alone. `length` may be null. */
KARST_EXPORT const char* karst_error_text(const karst_engine* engine, size_t* length);

/* The line of the script or filter, from 1, at which that call failed; 0 where no line is at fault. */
KARST_EXPORT int karst_error_line(const karst_engine* engine);

/* Callbacks. Each is set for all later runs of the engine; null takes it off again. `user` is handed back as it is. The
 * setting functions give KARST_OK, KARST_ERROR_ARGUMENT for a null engine, or KARST_ERROR_BUSY. */

/* Gets a piece of text. Pieces come in order, and no character is divided between two of them. */
typedef void (*karst_text_callback)(void* user, const char* text, size_t length);

/* What a script writes with printf, and the messages of the library. Without a callback it is dropped. */
KARST_EXPORT karst_status karst_on_message(karst_engine* engine, karst_text_callback callback, void* user);

/* What a script writes to the file "stdout" (fnprintf). Without a callback such a write fails in the script. */
KARST_EXPORT karst_status karst_on_output(karst_engine* engine, karst_text_callback callback, void* user);

/* Answers a message box: 1 is OK. Without a callback the text goes to standard error and the answer is 1. */
typedef int (*karst_message_box_callback)(void* user, const char* text, size_t length);
KARST_EXPORT karst_status karst_on_message_box(karst_engine* engine, karst_message_box_callback callback, void* user);

/* Comes ahead of each record of karst_filter_file, and once behind the last: bytes of the file used so far, its size (0
 * where it has none, as a pipe), and the records given so far. Another answer than 0 stops the run. */
typedef int (*karst_progress_callback)(void* user, uint64_t position, uint64_t size, uint64_t records);
KARST_EXPORT karst_status karst_on_progress(karst_engine* engine, karst_progress_callback callback, void* user);

/* Gets each stretch of a record file that is no record, in karst_filter_file: where it begins, its bytes as they stand
 * in the file, and why it is no record. A stretch longer than 1 MiB comes in several pieces. */
typedef void (*karst_skipped_callback)(void* user, uint64_t offset, const char* bytes, size_t length,
                                       const char* reason, size_t reason_length);
KARST_EXPORT karst_status karst_on_skipped(karst_engine* engine, karst_skipped_callback callback, void* user);

/* ---- Readers: the records of a file, one by one ------------------------------------------------------------------ */

/* A reader goes through a file of records, in ISO 2709 or the internal form, told apart record by record. Its memory
 * does not grow with the file. A record that is damaged but readable without loss is repaired. Records have at most
 * 1 MiB. The file is taken to be GBK; of a file in any other charset a KARST_GBK reader gives the bytes as they are. */
typedef struct karst_reader karst_reader;

/* Makes a reader, to be freed with karst_reader_free. Null for an encoding that is none and without memory. */
KARST_EXPORT karst_reader* karst_reader_new(karst_encoding encoding);

/* Closes what is open and frees the reader and all texts that came from it. Null is nothing to free. */
KARST_EXPORT void karst_reader_free(karst_reader* reader);

/* Opens a file, in the place of the one that is open. KARST_OK, KARST_ERROR_FILE and the general errors; after a
 * failure nothing is open. */
KARST_EXPORT karst_status karst_reader_open(karst_reader* reader, const char* file, size_t file_length);

/* Goes on. KARST_OK: a record came, and karst_reader_text gives it. KARST_SKIPPED: a stretch that is no record was
 * passed over, karst_reader_raw gives it and karst_reader_reason says why; the next call goes on behind it. KARST_END;
 * KARST_ERROR_FILE, also when nothing is open; KARST_ERROR_MEMORY. The records, the stretches and the separators
 * between them (line ends, blanks) are, in order, the whole file. */
KARST_EXPORT karst_status karst_reader_next(karst_reader* reader);

/* What the last karst_reader_next came to. `length` may be null; a text that is not there is the empty one.
 * text: the record in the internal form, in the reader's encoding. raw: the bytes of the record or of the stretch
 * passed over as they stand in the file. offset: where they begin. reason: why the stretch is no record. */
KARST_EXPORT const char* karst_reader_text(const karst_reader* reader, size_t* length);
KARST_EXPORT const char* karst_reader_raw(const karst_reader* reader, size_t* length);
KARST_EXPORT uint64_t karst_reader_offset(const karst_reader* reader);
KARST_EXPORT const char* karst_reader_reason(const karst_reader* reader, size_t* length);

/* How far the reader is: bytes of the file used so far, and the file's size (0 where it has none, as a pipe). */
KARST_EXPORT uint64_t karst_reader_position(const karst_reader* reader);
KARST_EXPORT uint64_t karst_reader_size(const karst_reader* reader);

/* What was wrong with the last call on the reader that failed; the empty text when none has failed. */
KARST_EXPORT const char* karst_reader_error_text(const karst_reader* reader, size_t* length);

/* ---- Records ----------------------------------------------------------------------------------------------------- */

/* Both work on bytes in whatever encoding the record is in: lengths and addresses in ISO 2709 count the bytes given.
 * Both put the result into `buffer`, which has `room` bytes and must not overlap the record, with no NUL behind it, and
 * its length into `needed` (may be null). If it does not fit, they give KARST_ERROR_ROOM, write nothing and still say
 * in `needed` what it takes; a null `buffer` with the room 0 asks just that. For any other failure `needed` gets 0.
 * They use no handle: any thread may call them at any time. Without memory: KARST_ERROR_MEMORY. */

/* Writes a record in the internal form out as ISO 2709. Fields whose tag begins with "-" are left out.
 * KARST_ERROR_RECORD for what is no record in the internal form (no 24-byte header, a field without a whole tag of
 * printable ASCII, a field or record without its end mark, a NUL) or has no place in ISO 2709: a field of 10,000 bytes,
 * a record of 100,000 bytes or more. */
KARST_EXPORT karst_status karst_to_iso2709(const char* record, size_t length, char* buffer, size_t room,
                                           size_t* needed);

/* Turns one ISO 2709 record, which ends with its 0x1D, into the internal form. The faults that a reader repairs are
 * repaired here too; KARST_ERROR_RECORD for a record that cannot be read without loss. */
KARST_EXPORT karst_status karst_from_iso2709(const char* bytes, size_t length, char* buffer, size_t room,
                                             size_t* needed);

#ifdef __cplusplus
}
#endif

#endif
