// A log whose level and sizes are values of the registry, in a file or on standard output.
#pragma once

#include <kelvane/log.h>
#include <winbase.h>
#include <winreg.h>

#include <cstddef>
#include <cstdio>

inline namespace kelvane {

// The state of a log. The settings' last values are kept by const operations too; what several threads may
// touch outside the lock is read and written atomically.
struct Registry_Log_Fields {
  mutable HKEY key = nullptr;  // the settings key; null while it is not open
  const wchar_t* keyPath;      // below root; not owned
  HKEY root;
  mutable int level = 1;  // the last values read, the sizes in kilobytes
  mutable unsigned maxSizeKB = 10240;
  mutable unsigned baseSizeKB = 1024;
  CRITICAL_SECTION lock;     // held while a record is written
  int sequence = 0;          // number of the last record
  FILE* stream = stdout;     // the file, or stdout
  char* fileName = nullptr;  // owned (strdup); null on stdout
};

static_assert(offsetof(Registry_Log_Fields, key) == 0 && offsetof(Registry_Log_Fields, keyPath) == 8);
static_assert(offsetof(Registry_Log_Fields, root) == 16 && offsetof(Registry_Log_Fields, level) == 24);
static_assert(offsetof(Registry_Log_Fields, maxSizeKB) == 28 && offsetof(Registry_Log_Fields, baseSizeKB) == 32);
static_assert(offsetof(Registry_Log_Fields, lock) == 40 && offsetof(Registry_Log_Fields, sequence) == 80);
static_assert(offsetof(Registry_Log_Fields, stream) == 88 && offsetof(Registry_Log_Fields, fileName) == 96);

// Made without a call of the registry, so that its maker may hold a lock; Start makes it complete. After End it
// goes on as a log on standard output.
//
// The registry is asked at every record while it is alive; what cannot be read has its default. A thread that
// logs while it answers a logger's own question gets the defaults.
class RegistryLogImpl final : public KvLog, private Registry_Log_Fields {
 public:
  // Opens the file; null and "" mean standard output, and so does, after a message on standard error, a file
  // that cannot be opened. keyPath must stay.
  RegistryLogImpl(HKEY root, const wchar_t* keyPath, const char* fileName);
  ~RegistryLogImpl() override;
  RegistryLogImpl(const RegistryLogImpl&) = delete;
  RegistryLogImpl& operator=(const RegistryLogImpl&) = delete;

  // Opens the settings key and writes the first banner; a log on standard output has none.
  void Start();
  // Writes the last banner and releases file and key. Numbers begin again.
  void End();

  void OutputV(int level, const char* format, va_list arguments) override;
  const char* Name() const override;
  unsigned MaxSize() const override;
  unsigned BaseSize() const override;
  int Level() const override;

  // Stores a level for all loggers of this key: 1, or 0 when the key is not open or cannot be written.
  int Level(int level);

  // A setting; the fallback when it cannot be read or is no REG_DWORD.
  unsigned GetDWORD(const wchar_t* name, unsigned fallback) const;
  // Opens the settings key, which is created when missing; the registry's code.
  LSTATUS OpenKey() const;

  void Lock() { EnterCriticalSection(&lock); }
  void Unlock() { LeaveCriticalSection(&lock); }

 private:
  class Hold;

  void OpenFile(const char* name);
  bool HasFile() const;
  void Prune();
};

static_assert(sizeof(RegistryLogImpl) == 112);

}  // namespace kelvane
