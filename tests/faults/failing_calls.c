/*
 * Loaded before a program: the calls of one kind are counted, in all processes together, and the n-th fails. What the
 * system's library calls within itself is not met; its functions that open files are taken as a whole.
 *
 *   KV_FAIL_CALL    open, write, short_write, resize, rename, link, fsync, map, fcntl or memory
 *   KV_FAIL_COUNTER a file of 8 bytes: which call is to fail, and how many there were, as numbers of 4 bytes each
 *   KV_FAIL_IN      the program in which calls count from its beginning; in others between kv_fail_calls(1) and (0)
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#define SEEN __attribute__((visibility("default")))

enum kind {
  fail_none,
  fail_open,
  fail_write,
  fail_short_write,
  fail_resize,
  fail_rename,
  fail_link,
  fail_fsync,
  fail_map,
  fail_fcntl,
  fail_memory
};

struct counter {
  unsigned failing;
  unsigned seen;
};

static enum kind failing_kind = fail_none;
static struct counter* counter = NULL;
static int everywhere = 0;
static __thread int here __attribute__((tls_model("initial-exec"))) = 0;

SEEN void kv_fail_calls(int on) { here = on; }

static enum kind kind_named(const char* name) {
  static const char* const names[] = {"",     "open",  "write", "short_write", "resize", "rename",
                                      "link", "fsync", "map",   "fcntl",       "memory"};
  for (unsigned kind = fail_open; kind <= fail_memory; ++kind) {
    if (strcmp(names[kind], name) == 0) return (enum kind)kind;
  }
  return fail_none;
}

__attribute__((constructor)) static void begin(void) {
  const char* call = getenv("KV_FAIL_CALL");
  const char* file = getenv("KV_FAIL_COUNTER");
  const char* program = getenv("KV_FAIL_IN");
  if (call == NULL || file == NULL) return;
  const long fd = syscall(SYS_openat, AT_FDCWD, file, O_RDWR | O_CLOEXEC, 0);
  if (fd < 0) return;
  counter = (struct counter*)syscall(SYS_mmap, NULL, sizeof *counter, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  syscall(SYS_close, fd);
  everywhere = program != NULL && strcmp(program, program_invocation_short_name) == 0;
  failing_kind = kind_named(call);
}

static int fails(enum kind kind) {
  if (kind != failing_kind || !(here || everywhere)) return 0;
  return __atomic_add_fetch(&counter->seen, 1, __ATOMIC_RELAXED) == counter->failing;
}

static long failed(int error) {
  errno = error;
  return -1;
}

/* Opening. */

static int has_mode(int flags) { return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE; }

#define OPEN_AT(folder, path, flags)                                  \
  va_list rest;                                                       \
  va_start(rest, flags);                                              \
  const unsigned mode = has_mode(flags) ? va_arg(rest, unsigned) : 0; \
  va_end(rest);                                                       \
  if (fails(fail_open)) return (int)failed(EMFILE);                   \
  return (int)syscall(SYS_openat, folder, path, flags, mode)

SEEN int open(const char* path, int flags, ...) { OPEN_AT(AT_FDCWD, path, flags); }
SEEN int open64(const char* path, int flags, ...) { OPEN_AT(AT_FDCWD, path, flags); }
SEEN int openat(int folder, const char* path, int flags, ...) { OPEN_AT(folder, path, flags); }
SEEN int openat64(int folder, const char* path, int flags, ...) { OPEN_AT(folder, path, flags); }

/* The function of the system's library behind ours. */
#define NEXT(name)               \
  static __typeof__(&name) next; \
  if (next == NULL) *(void**)&next = dlsym(RTLD_NEXT, #name)

SEEN FILE* fopen(const char* path, const char* mode) {
  NEXT(fopen);
  return fails(fail_open) ? (errno = EMFILE, NULL) : next(path, mode);
}
SEEN FILE* fopen64(const char* path, const char* mode) {
  NEXT(fopen64);
  return fails(fail_open) ? (errno = EMFILE, NULL) : next(path, mode);
}
SEEN int mkostemp(char* pattern, int flags) {
  NEXT(mkostemp);
  return fails(fail_open) ? (int)failed(EMFILE) : next(pattern, flags);
}
SEEN int mkstemp(char* pattern) {
  NEXT(mkstemp);
  return fails(fail_open) ? (int)failed(EMFILE) : next(pattern);
}

/* Writing: nothing, or the half of it. */

static size_t wanted_of(size_t size) { return size > 1 && fails(fail_short_write) ? size / 2 : size; }

SEEN ssize_t write(int fd, const void* data, size_t size) {
  if (fails(fail_write)) return failed(ENOSPC);
  return syscall(SYS_write, fd, data, wanted_of(size));
}
SEEN ssize_t pwrite(int fd, const void* data, size_t size, off_t at) {
  if (fails(fail_write)) return failed(EIO);
  return syscall(SYS_pwrite64, fd, data, wanted_of(size), at);
}
SEEN ssize_t pwrite64(int fd, const void* data, size_t size, off64_t at) { return pwrite(fd, data, size, at); }
/* The half of several parts is the first ones. */
SEEN ssize_t pwritev(int fd, const struct iovec* parts, int count, off_t at) {
  if (fails(fail_write)) return failed(EIO);
  if (fails(fail_short_write)) count = count > 1 ? count / 2 : count;
  return syscall(SYS_pwritev, fd, parts, count, at, 0L);
}

SEEN int ftruncate(int fd, off_t size) {
  return (int)(fails(fail_resize) ? failed(ENOSPC) : syscall(SYS_ftruncate, fd, size));
}
SEEN int ftruncate64(int fd, off64_t size) { return ftruncate(fd, size); }

/* Names. */

SEEN int renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags) {
  if (fails(fail_rename)) return (int)failed(EIO);
  return (int)syscall(SYS_renameat2, from_folder, from, to_folder, to, flags);
}
SEEN int renameat(int from_folder, const char* from, int to_folder, const char* to) {
  return renameat2(from_folder, from, to_folder, to, 0);
}
SEEN int rename(const char* from, const char* to) { return renameat2(AT_FDCWD, from, AT_FDCWD, to, 0); }

SEEN int linkat(int from_folder, const char* from, int to_folder, const char* to, int flags) {
  if (fails(fail_link)) return (int)failed(EMLINK);
  return (int)syscall(SYS_linkat, from_folder, from, to_folder, to, flags);
}
SEEN int link(const char* from, const char* to) { return linkat(AT_FDCWD, from, AT_FDCWD, to, 0); }

/* To the disk, into memory, and locks. */

SEEN int fsync(int fd) { return (int)(fails(fail_fsync) ? failed(EIO) : syscall(SYS_fsync, fd)); }
SEEN int fdatasync(int fd) { return (int)(fails(fail_fsync) ? failed(EIO) : syscall(SYS_fdatasync, fd)); }

SEEN void* mmap(void* address, size_t size, int protection, int flags, int fd, off_t at) {
  if (fails(fail_map)) return (void*)failed(ENOMEM);
  return (void*)syscall(SYS_mmap, address, size, protection, flags, fd, at);
}
SEEN void* mmap64(void* address, size_t size, int protection, int flags, int fd, off64_t at) {
  return mmap(address, size, protection, flags, fd, at);
}

#define CONTROL(fd, command)                         \
  va_list rest;                                      \
  va_start(rest, command);                           \
  void* const argument = va_arg(rest, void*);        \
  va_end(rest);                                      \
  if (fails(fail_fcntl)) return (int)failed(ENOLCK); \
  return (int)syscall(SYS_fcntl, fd, command, argument)

SEEN int fcntl(int fd, int command, ...) { CONTROL(fd, command); }
SEEN int fcntl64(int fd, int command, ...) { CONTROL(fd, command); }

/* Memory; a sanitizer's heap is its own. */

#ifndef __SANITIZE_ADDRESS__
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);

static void* no_memory(void) { return errno = ENOMEM, NULL; }

SEEN void* malloc(size_t size) { return fails(fail_memory) ? no_memory() : __libc_malloc(size); }
SEEN void* calloc(size_t count, size_t size) { return fails(fail_memory) ? no_memory() : __libc_calloc(count, size); }
SEEN void* realloc(void* block, size_t size) { return fails(fail_memory) ? no_memory() : __libc_realloc(block, size); }
SEEN void* aligned_alloc(size_t to, size_t size) {
  return fails(fail_memory) ? no_memory() : __libc_memalign(to, size);
}
SEEN int posix_memalign(void** out, size_t to, size_t size) {
  if (fails(fail_memory)) return ENOMEM;
  *out = __libc_memalign(to, size);
  return *out != NULL ? 0 : ENOMEM;
}
#endif
