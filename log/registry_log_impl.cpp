// A registry log's life and its records. The settings are read before the lock is taken: a registry call may
// never return.

#include "log/registry_log_impl.h"

#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "log/log_path.h"
#include "log/prune.h"
#include "log/record.h"
#include "log/system_log.h"

inline namespace kelvane {

namespace {

constexpr int banner_level = 1;

// Where the next record begins; -1 for a stream that has no positions. The stream has been flushed and only
// appends, so its file may be asked directly: fseeko would read the file's last block each time.
off_t end_position(FILE* stream) { return lseek(fileno(stream), 0, SEEK_END); }

}  // namespace

class RegistryLogImpl::Hold {
 public:
  explicit Hold(RegistryLogImpl& log) : log_(log) { log_.Lock(); }
  ~Hold() { log_.Unlock(); }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

 private:
  RegistryLogImpl& log_;
};

RegistryLogImpl::RegistryLogImpl(HKEY settings_root, const wchar_t* settings_path, const char* name) {
  root = settings_root;
  keyPath = settings_path;
  InitializeCriticalSection(&lock);
  if (name != nullptr && *name != '\0') OpenFile(name);
}

RegistryLogImpl::~RegistryLogImpl() {
  End();
  DeleteCriticalSection(&lock);
}

void RegistryLogImpl::OpenFile(const char* name) {
  constexpr mode_t file_mode = 0644;
  insure_dir(name);
  FILE* const file = std::fopen(name, log_open_mode);
  if (file == nullptr) {
    std::fprintf(stderr, "Failed to create log file '%s'!\n", name);
    return;
  }
  std::setbuf(file, nullptr);
  stream = file;
  fileName = strdup(name);
  chmod(name, file_mode);
}

void RegistryLogImpl::Start() {
  if (KvRegistryIsAlive() != 0) OpenKey();
  if (HasFile()) Output(banner_level, "+++ %s logging started +++", KvGetShortApplicationName());
}

void RegistryLogImpl::End() {
  if (HasFile()) Output(banner_level, "--- %s logging ending ---", KvGetShortApplicationName());
  {
    const Hold hold(*this);
    sequence = 0;
    if (stream != stdout) std::fclose(stream);
    __atomic_store_n(&stream, stdout, __ATOMIC_RELAXED);
    std::free(fileName);
    fileName = nullptr;
  }
  const HKEY open = __atomic_exchange_n(&key, nullptr, __ATOMIC_ACQ_REL);
  if (open != nullptr && KvRegistryIsAlive() != 0) RegCloseKey(open);
}

bool RegistryLogImpl::HasFile() const { return __atomic_load_n(&stream, __ATOMIC_RELAXED) != stdout; }

const char* RegistryLogImpl::Name() const { return fileName != nullptr ? fileName : "stdout"; }

void RegistryLogImpl::OutputV(int record_level, const char* format, va_list arguments) {
  if (Level() < record_level) return;
  SYSTEMTIME now;
  GetLocalTime(&now);
  const unsigned max_size = HasFile() ? MaxSize() : 0;
  const Hold hold(*this);
  va_list record_arguments;
  va_copy(record_arguments, arguments);
  const int error = write_record(stream, now, ++sequence, format, record_arguments);
  va_end(record_arguments);
  if (error == ENOSPC) return Write2Syslog(format, arguments);
  if (stream != stdout && end_position(stream) > static_cast<off_t>(max_size)) Prune();
}

void RegistryLogImpl::Prune() {
  // QUIRK log-prune-never: a size of 32 bits is negated and widened without its sign. With 64-bit offsets the
  // place lies at or behind the end of the file, no header follows, and the file stays whole.
  const auto from_end = static_cast<off_t>(0U - BaseSize());
  FILE* const pruned = prune_log(stream, fileName, from_end);
  // Not reached with 64-bit offsets.
  if (pruned != nullptr) __atomic_store_n(&stream, pruned, __ATOMIC_RELAXED);
}

}  // namespace kelvane
