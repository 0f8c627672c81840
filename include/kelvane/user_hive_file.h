/*
 * The file of the user's hive: written so that no reader ever sees half of it, and read so that a writer does
 * not disturb the reader. The content is an image that only the implementation libraries understand. Any
 * thread may call; processes of one user may write at the same time, and the last one to finish wins.
 */
#ifndef KELVANE_USER_HIVE_FILE_H
#define KELVANE_USER_HIVE_FILE_H

#include "../windef.h"

KV_BEGIN_C

/*
 * Formats the name "<base>.<computer>.<pid>_<counter>" into destination, cut to capacity bytes with the
 * terminator. The counter is the process's and starts at 1, so no other process and no other call gets the
 * same name. Returns the length of the whole name, which may be capacity or more.
 */
KV_EXPORT int KvCreateUniqFileName(char* destination, unsigned long capacity, const char* base);

/*
 * Writes length bytes to a new file beside path, with mode 0666 whatever the process's mask, and moves it over
 * path; 0 bytes make an empty file. Returns 0; ERROR_DISK_FULL (112) when there is no room, or the write was
 * short or the close failed for any cause; ERROR_ACCESS_DENIED (5) when the file can otherwise not be made or
 * moved, also when path is so long (4095 characters) that no other name is left for it. On an error the file that
 * stood is as it was.
 */
KV_EXPORT DWORD KvWriteHKCUFile(const char* path, unsigned char* data, int length);

KV_END_C

#ifdef __cplusplus

inline namespace kelvane {

/*
 * A file opened through a hard link of its own, beside it: a writer that replaces the file meanwhile does not
 * touch what was opened. Where no link can be made the file itself is opened. flags and mode are those of
 * open. The descriptor is -1 when the file could not be opened, with open's errno. The destructor closes the
 * descriptor and removes the link.
 */
class KV_EXPORT KvProxyFile {
 public:
  KvProxyFile(const char* path, int flags, int mode);
  ~KvProxyFile();
  KvProxyFile(const KvProxyFile&) = delete;
  KvProxyFile& operator=(const KvProxyFile&) = delete;

  int descriptor;
  char linkName[4096];
  int linked; /* non-zero while linkName is on the disk */
};

/*
 * The content of a hive file in memory, read-only, as it was when the object was made. error is 0;
 * ERROR_OPEN_FAILED (110) when the file cannot be opened; ERROR_OUTOFMEMORY (14) when it cannot be mapped, as
 * an empty file and whatever is no regular file cannot. With an error data is null. The size has 32 bits: of
 * larger files only the remainder is told and mapped. The file must not be cut while it is mapped.
 */
class KV_EXPORT HKCUDataReader {
 public:
  explicit HKCUDataReader(char* path);
  ~HKCUDataReader();
  HKCUDataReader(const HKCUDataReader&) = delete;
  HKCUDataReader& operator=(const HKCUDataReader&) = delete;

  DWORD error;
  unsigned char* data;
  unsigned size; /* of the file, in bytes */
};

}  // namespace kelvane

#endif

#endif
