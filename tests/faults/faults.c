/* Put in front of the C library (LD_PRELOAD): the N-th call of one kind fails, is short or is interrupted.
 *
 *   KARST_FAULT_PAGE   a file of sizeof(struct Page) bytes: what was called, and whether the fault came
 *   KARST_FAULT        "KIND AT ERROR STAYS": the kind's number, the number of the call from 1, the errno (0: the call
 *                      does half of its work), 1 if all later calls fail too
 *   KARST_FAULT_WAIT   the program says itself when it begins, by karst_faults_arm
 *
 * Otherwise calls count from the beginning of main: what the loader does before is no work of the program. Writing to
 * standard error is spared, since it is how a failure is told. What the C library does for itself, such as reading a
 * charset's tables, does not come by here, apart from its allocations. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/uio.h>
#include <unistd.h>

enum Kind { kRead, kWrite, kOpen, kClose, kRename, kSync, kMemory, kKinds };

struct Page {
  _Atomic long counts[kKinds];
  _Atomic long fired;
  char path[1024]; /* of the file that the fault struck */
};

static struct Page no_page;
static struct Page* page = &no_page;
static struct {
  int kind;
  long at;
  int error;
  int stays;
} plan = {.kind = kKinds};
static _Atomic int armed;
static _Atomic long blocks;

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);

/* For programs that choose the moment themselves. */
void karst_faults_arm(int on) { armed = on; }
/* How many allocated blocks there are. */
long karst_faults_blocks(void) { return blocks; }

/* The function that is hidden by the one of that name here. */
#define REAL(name)               \
  static __typeof__(name)* real; \
  if (!real) real = (__typeof__(name)*)dlsym(RTLD_NEXT, #name)

static int IsDue(enum Kind kind) {
  if (!armed) return 0;
  const long number = ++page->counts[kind];
  if ((int)kind != plan.kind || (plan.stays ? number < plan.at : number != plan.at)) return 0;
  page->fired = 1;
  return 1;
}

static int StrikePath(enum Kind kind, const char* path) {
  if (!IsDue(kind)) return 0;
  if (!page->path[0]) strncpy(page->path, path, sizeof page->path - 1);
  errno = plan.error;
  return 1;
}

static int StrikeFile(enum Kind kind, int file) {
  if (file == STDERR_FILENO || !IsDue(kind)) return 0;
  if (page->path[0]) {
    /* The first one counts. */
  } else if (file <= STDOUT_FILENO) {
    strcpy(page->path, file == STDIN_FILENO ? "standard input" : "standard output");
  } else {
    char link[32];
    snprintf(link, sizeof link, "/proc/self/fd/%d", file);
    if (readlink(link, page->path, sizeof page->path - 1) < 0) strcpy(page->path, link);
  }
  errno = plan.error;
  return 1;
}

static size_t Half(size_t count) { return count > 1 ? count / 2 : count; }

/* --- Files */

/* A call that does nothing and gives `failed` where it is struck, unless it shall do half of its work: then its
 * arguments are those of `half`. */
#define STRUCK_OR_HALF(type, name, parameters, strikes, failed, half, whole) \
  type name parameters {                                                     \
    REAL(name);                                                              \
    if (!(strikes)) return real whole;                                       \
    return plan.error ? failed : real half;                                  \
  }
#define STRUCK(type, name, parameters, strikes, failed, whole) \
  STRUCK_OR_HALF(type, name, parameters, strikes, failed, whole, whole)

STRUCK_OR_HALF(ssize_t, read, (int file, void* bytes, size_t count), StrikeFile(kRead, file), -1,
               (file, bytes, Half(count)), (file, bytes, count))
STRUCK_OR_HALF(ssize_t, pread, (int file, void* bytes, size_t count, off_t offset), StrikeFile(kRead, file), -1,
               (file, bytes, Half(count), offset), (file, bytes, count, offset))
STRUCK_OR_HALF(ssize_t, write, (int file, const void* bytes, size_t count), StrikeFile(kWrite, file), -1,
               (file, bytes, Half(count)), (file, bytes, count))
STRUCK_OR_HALF(ssize_t, writev, (int file, const struct iovec* parts, int count), StrikeFile(kWrite, file), -1,
               (file, parts, (int)Half((size_t)count)), (file, parts, count))
STRUCK(size_t, fwrite, (const void* bytes, size_t size, size_t count, FILE* file), StrikeFile(kWrite, fileno(file)), 0,
       (bytes, size, count, file))
STRUCK(int, fflush, (FILE * file), file&& StrikeFile(kWrite, fileno(file)), EOF, (file))
STRUCK(int, ftruncate, (int file, off_t length), StrikeFile(kWrite, file), -1, (file, length))
STRUCK(int, fsync, (int file), StrikeFile(kSync, file), -1, (file))
STRUCK(int, rename, (const char* from, const char* to), StrikePath(kRename, to), -1, (from, to))
STRUCK(int, mkostemp, (char* pattern, int flags), StrikePath(kOpen, pattern), -1, (pattern, flags))
STRUCK(FILE*, fopen, (const char* path, const char* mode), StrikePath(kOpen, path), NULL, (path, mode))
FILE* fopen64(const char* path, const char* mode) __attribute__((alias("fopen")));

#define STRUCK_OPENING(name, parameters, whole)                                     \
  int name parameters {                                                             \
    REAL(name);                                                                     \
    va_list rest;                                                                   \
    va_start(rest, flags);                                                          \
    const mode_t mode = flags & (O_CREAT | __O_TMPFILE) ? va_arg(rest, mode_t) : 0; \
    va_end(rest);                                                                   \
    return StrikePath(kOpen, path) && plan.error ? -1 : real whole;                 \
  }
STRUCK_OPENING(open, (const char* path, int flags, ...), (path, flags, mode))
STRUCK_OPENING(openat, (int folder, const char* path, int flags, ...), (folder, path, flags, mode))
int open64(const char* path, int flags, ...) __attribute__((alias("open")));

static int IsWritten(int file) {
  const int flags = fcntl(file, F_GETFL);
  return flags >= 0 && (flags & O_ACCMODE) != O_RDONLY;
}

/* Only of what was written can something be lost here. The system lets go of the file in any case. */
#define STRUCK_AFTER(name, parameter, argument, file)               \
  int name(parameter) {                                             \
    REAL(name);                                                     \
    const int struck = IsWritten(file) && StrikeFile(kClose, file); \
    const int error = errno, result = real(argument);               \
    if (!struck || !plan.error) return result;                      \
    errno = error;                                                  \
    return -1;                                                      \
  }
STRUCK_AFTER(close, int file, file, file)
STRUCK_AFTER(fclose, FILE* file, file, fileno(file))

/* --- Memory */

static int IsRefused(void) {
  if (!IsDue(kMemory)) return 0;
  errno = ENOMEM;
  return 1;
}

static void* Counted(void* block) {
  if (block) ++blocks;
  return block;
}

void* malloc(size_t size) { return IsRefused() ? NULL : Counted(__libc_malloc(size)); }

void* calloc(size_t count, size_t size) { return IsRefused() ? NULL : Counted(__libc_calloc(count, size)); }

void* realloc(void* block, size_t size) {
  if (IsRefused()) return NULL;
  void* grown = __libc_realloc(block, size);
  if (!block) return Counted(grown);
  if (!grown && size == 0) --blocks;
  return grown;
}

void* aligned_alloc(size_t alignment, size_t size) {
  return IsRefused() ? NULL : Counted(__libc_memalign(alignment, size));
}

void free(void* block) {
  if (block) --blocks;
  __libc_free(block);
}

/* --- The beginning */

static int (*program_main)(int, char**, char**);

static void Prepare(void) {
  const char* name = getenv("KARST_FAULT_PAGE");
  const char* fault = getenv("KARST_FAULT");
  if (!name) return;
  const int file = open(name, O_RDWR | O_CLOEXEC);
  void* mapped = file < 0 ? MAP_FAILED : mmap(NULL, sizeof *page, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (mapped == MAP_FAILED || !fault ||
      sscanf(fault, "%d %ld %d %d", &plan.kind, &plan.at, &plan.error, &plan.stays) != 4) {
    fputs("faults: no page, or no plan\n", stderr);
    _exit(99);
  }
  close(file);
  page = mapped;
  unsetenv("LD_PRELOAD"); /* a program that this one starts is not meant */
  armed = !getenv("KARST_FAULT_WAIT");
}

static int Main(int count, char** arguments, char** environment) {
  Prepare();
  return program_main(count, arguments, environment);
}

int __libc_start_main(int (*main)(int, char**, char**), int count, char** arguments, void (*init)(void),
                      void (*fini)(void), void (*rtld_fini)(void), void* stack_end) {
  REAL(__libc_start_main);
  program_main = main;
  return real(Main, count, arguments, init, fini, rtld_fini, stack_end);
}
