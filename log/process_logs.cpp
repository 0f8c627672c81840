// The loggers of the process. Each is made at its first use and ended when the process ends, but its storage
// stays: what runs later, the registry's close included, still logs, to standard output.

#include <kelvane/process.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "log/log_path.h"
#include "log/registry_log_impl.h"
#include "log/stdout_logger.h"

inline namespace kelvane {
namespace {

using Log_Path = char[log_path_size];

// A log that is started by its first user, outside the lock of its making: starting asks the registry, which
// may log itself. Records of other threads may come before the first banner.
class Process_Log {
 public:
  Process_Log(const wchar_t* settings, const char* file) : log_(HKEY_LOCAL_MACHINE, settings, file) {}

  KvLog& started() {
    if (!is_started_.load(std::memory_order_relaxed) && !is_started_.exchange(true)) log_.Start();
    return log_;
  }
  void end() { log_.End(); }

 private:
  RegistryLogImpl log_;
  std::atomic<bool> is_started_ = false;
};

// Ends a log when the process ends.
class Log_End {
 public:
  explicit Log_End(Process_Log& log) : log_(log) {}
  ~Log_End() { log_.end(); }
  Log_End(const Log_End&) = delete;
  Log_End& operator=(const Log_End&) = delete;

 private:
  Process_Log& log_;
};

const char* in_logs_folder(Log_Path& path, const char* name) {
  const char* const home = std::getenv("HOME");
  std::snprintf(path, sizeof path, "%s/logs/%s", home != nullptr ? home : KvTmpDir(0), name);
  return path;
}

// QUIRK log-modes-differ: in mode 0 the RPC service's log has a file and the registry's has none.
const char* registry_file(Log_Path& path) {
  return KvGetRegistryMode() > KV_REGISTRY_IN_PROCESS ? in_logs_folder(path, "regss.log") : nullptr;
}

const char* service_file(Log_Path& path) {
  const char* const chosen = std::getenv("KVRPCSS_DEBUG_LOG");
  if (chosen != nullptr) {
    std::snprintf(path, sizeof path, "%s", chosen);
    return path;
  }
  return KvGetRegistryMode() != KV_REGISTRY_IN_PROCESS ? in_logs_folder(path, "kvrpcss_event.log") : nullptr;
}

}  // namespace

KvLog& RegLog() {
  static Log_Path path;
  static Process_Log& log = *new Process_Log(L"Software\\Tressaly\\regss\\log", registry_file(path));
  static const Log_End end(log);
  return log.started();
}

KvLog& RpcssLog() {
  static Log_Path path;
  static Process_Log& log = *new Process_Log(L"Software\\Tressaly\\rpcss\\log", service_file(path));
  static const Log_End end(log);
  return log.started();
}

KvLog& StdoutLog() {
  static StdoutLogger& log = *new StdoutLogger;
  return log;
}

}  // namespace kelvane
