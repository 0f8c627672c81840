// A ported program that lives through one scenario while calls of the system fail, and tells what the registry
// answered: a line "<step> <code>" for each call. It asks for no memory of its own while calls fail. "see" tells
// afterwards what is there.
//
//   faults_scenario start|values|save|backup|log|see|shut-down [FOLDER]
#include <kelvane/log.h>
#include <kelvane/registry_admin.h>
#include <windows.h>

#include <dlfcn.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <new>

namespace {

constexpr DWORD values = 6;
constexpr DWORD large = 20000;

void (*fail_calls)(int) = [](int) {};

template <typename Call>
long code_of(Call call) {
  fail_calls(1);
  long code = ERROR_NOT_ENOUGH_MEMORY;
  try {
    code = static_cast<long>(call());
  } catch (const std::bad_alloc&) {
  }
  fail_calls(0);
  return code;
}

void tell(const char* step, long code) {
  char line[64];
  const int size = snprintf(line, sizeof line, "%s %ld\n", step, code);
  syscall(SYS_write, STDOUT_FILENO, line, size);
}

// The data of value number n: every byte is known.
DWORD data_of(DWORD number, BYTE* out) {
  const DWORD size = number == values - 1 ? large : 10 + number;
  memset(out, 'a' + static_cast<int>(number), size);
  return size;
}

const char* name_of(DWORD number) {
  static const char names[values][3] = {"n0", "n1", "n2", "n3", "n4", "n5"};
  return names[number];
}

// "whole", "torn", or the code.
void tell_value(HKEY key, DWORD number) {
  static BYTE expected[large], found[large + 1];
  const DWORD expected_size = data_of(number, expected);
  DWORD size = sizeof found, type = 0;
  const long code = code_of([&] { return RegQueryValueEx(key, name_of(number), nullptr, &type, found, &size); });
  const bool is_whole = type == REG_BINARY && size == expected_size && memcmp(found, expected, size) == 0;
  tell(code == ERROR_SUCCESS && !is_whole ? "torn" : "query", code);
}

HKEY make_key() {
  HKEY key = nullptr;
  const long code = code_of([&] {
    return RegCreateKeyEx(HKEY_CURRENT_USER, "Software\\Faults", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  });
  tell("create", code);
  return code == ERROR_SUCCESS ? key : nullptr;
}

// Sets, reads, deletes the first value, and closes.
void set_values() {
  static BYTE data[large];
  const HKEY key = make_key();
  if (key == nullptr) return;
  for (DWORD number = 0; number < values; ++number) {
    const DWORD size = data_of(number, data);
    const long code = code_of([&] { return RegSetValueEx(key, name_of(number), 0, REG_BINARY, data, size); });
    tell(name_of(number), code);
    if (code == ERROR_SUCCESS) tell_value(key, number);
  }
  tell("delete", code_of([&] { return RegDeleteValue(key, name_of(0)); }));
  tell("close", code_of([&] { return RegCloseKey(key); }));
}

void save(const char* folder) {
  char file[512];
  snprintf(file, sizeof file, "%s/saved", folder);
  const HKEY key = make_key();
  if (key == nullptr) return;
  tell("save", code_of([&] { return RegSaveKey(key, file, nullptr); }));
  tell("save-user", code_of([] { return RegSaveHKCU(nullptr); }));
  tell("close", code_of([&] { return RegCloseKey(key); }));
}

void backup(const char* folder) {
  tell("backup", code_of([&] { return RegBackup(folder, nullptr); }));
}

void log_records() {
  for (int record = 0; record < 5; ++record)
    tell("log", code_of([&] { return RegLog().Output(1, "record %d", record), 0; }));
}

void see() {
  HKEY key = nullptr;
  tell("open", RegOpenKeyEx(HKEY_CURRENT_USER, "Software\\Faults", 0, KEY_READ, &key));
  if (key == nullptr) return;
  for (DWORD number = 0; number < values; ++number) tell_value(key, number);
}

}  // namespace

int main(int, char** argv) {
  if (void* found = dlsym(RTLD_DEFAULT, "kv_fail_calls")) fail_calls = reinterpret_cast<void (*)(int)>(found);
  const char* scenario = argv[1];
  if (strcmp(scenario, "start") == 0) make_key();
  if (strcmp(scenario, "values") == 0) set_values();
  if (strcmp(scenario, "save") == 0) save(argv[2]);
  if (strcmp(scenario, "backup") == 0) backup(argv[2]);
  if (strcmp(scenario, "log") == 0) log_records();
  if (strcmp(scenario, "see") == 0) see();
  if (strcmp(scenario, "shut-down") == 0) return RegShutDown();
  fail_calls(1);  // also while the process closes the registry
  return 0;
}
