// A registry log's settings, read live. Nobody holds the log's lock here, but for BaseSize while it prunes.

#include <kelvane/advapi32.h>

#include "bootstrap/registry_table.h"
#include "log/registry_log_impl.h"

inline namespace kelvane {
namespace {

constexpr wchar_t level_name[] = L"LogLevel";
constexpr wchar_t max_size_name[] = L"MaxSize";
constexpr wchar_t base_size_name[] = L"BaseSize";
constexpr int default_level = 1;
constexpr unsigned bytes_per_kilobyte = 1024;

// Whether the registry can be asked this now: it is alive, and its mode has bound the entry.
bool answers(Slot question) {
  return KvRegistryIsAlive() != 0 && KvIRegFunctions[static_cast<int>(question)].entry != nullptr;
}

// A thread's question to the registry. A second one inside the first is asked by an implementation that logs
// while it answers, and would never end.
class Question {
 public:
  Question() : is_nested_(is_open) { is_open = true; }
  ~Question() { is_open = is_nested_; }
  Question(const Question&) = delete;
  Question& operator=(const Question&) = delete;

  bool is_nested() const { return is_nested_; }

 private:
  static inline thread_local bool is_open = false;
  const bool is_nested_;
};

// Of two threads that open the key at once the second gives its handle back.
void keep_first(HKEY& place, HKEY opened) {
  HKEY none = nullptr;
  if (__atomic_compare_exchange_n(&place, &none, opened, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE)) return;
  if (KvRegistryIsAlive() != 0) RegCloseKey(opened);
}

}  // namespace

LSTATUS RegistryLogImpl::OpenKey() const {
  const Question question;
  if (question.is_nested() || !answers(Slot::KvIRegCreateKeyEx)) return ERROR_BADKEY;
  HKEY opened = nullptr;
  const LSTATUS code = RegCreateKeyExW(root, keyPath, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &opened, nullptr);
  if (code == ERROR_SUCCESS && opened != nullptr) keep_first(key, opened);
  return code;
}

unsigned RegistryLogImpl::GetDWORD(const wchar_t* name, unsigned fallback) const {
  if (__atomic_load_n(&key, __ATOMIC_ACQUIRE) == nullptr) OpenKey();
  const Question question;
  const HKEY open = __atomic_load_n(&key, __ATOMIC_ACQUIRE);
  if (question.is_nested() || open == nullptr || !answers(Slot::KvIRegQueryValueEx)) return fallback;
  DWORD value = 0;
  DWORD size = sizeof value;
  DWORD type = REG_NONE;
  const LSTATUS code = RegQueryValueExW(open, name, nullptr, &type, reinterpret_cast<LPBYTE>(&value), &size);
  return code == ERROR_SUCCESS && type == REG_DWORD ? value : fallback;
}

int RegistryLogImpl::Level() const {
  const int read = static_cast<int>(GetDWORD(level_name, default_level));
  __atomic_store_n(&level, read, __ATOMIC_RELAXED);
  return read;
}

int RegistryLogImpl::Level(int new_level) {
  const HKEY open = __atomic_load_n(&key, __ATOMIC_ACQUIRE);
  if (open == nullptr || !answers(Slot::KvIRegSetValueEx)) return 0;
  const auto value = static_cast<DWORD>(new_level);
  const auto* const bytes = reinterpret_cast<const BYTE*>(&value);
  return RegSetValueExW(open, level_name, 0, REG_DWORD, bytes, sizeof value) == ERROR_SUCCESS ? 1 : 0;
}

unsigned RegistryLogImpl::MaxSize() const {
  const unsigned read = GetDWORD(max_size_name, __atomic_load_n(&maxSizeKB, __ATOMIC_RELAXED));
  __atomic_store_n(&maxSizeKB, read, __ATOMIC_RELAXED);
  return read * bytes_per_kilobyte;
}

unsigned RegistryLogImpl::BaseSize() const {
  const unsigned read = GetDWORD(base_size_name, __atomic_load_n(&baseSizeKB, __ATOMIC_RELAXED));
  __atomic_store_n(&baseSizeKB, read, __ATOMIC_RELAXED);
  return read * bytes_per_kilobyte;
}

}  // namespace kelvane
