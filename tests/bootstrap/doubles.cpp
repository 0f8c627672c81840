#include "tests/bootstrap/doubles.h"

#include <dlfcn.h>
#include <kelvane/advapi32.h>
#include <kelvane/bone.h>
#include <kelvane/heap.h>
#include <kelvane/module.h>
#include <kelvane/process.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

bool steps_are_told = false;
bool loads_are_told = false;
bool lookups_are_told = false;
bool kernel_blocks_are_told = false;
bool conversions_are_told = false;
bool questions_for_names_are_told = false;
bool exit_returns = false;
bool sleep_ends = false;
bool has_thread_index = false;
DWORD thread_index = 0;
bool has_heap_init = false;
uintptr_t heap_init = 0;
const char* module_path = nullptr;
const char* module_program = nullptr;

template <class Function>
Function* real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace kvtest {

void say(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  vdprintf(STDOUT_FILENO, format, arguments);
  va_end(arguments);
}

void tell_steps() {
  steps_are_told = true;
  loads_are_told = true;
}

void tell_loads() { loads_are_told = true; }
void tell_lookups() { lookups_are_told = true; }
void tell_kernel_blocks() { kernel_blocks_are_told = true; }
void tell_questions_for_names() { questions_for_names_are_told = true; }
void tell_conversions() { conversions_are_told = true; }
void end_at_sleep() { sleep_ends = true; }
void make_exit_return() { exit_returns = true; }

void use_thread_index(DWORD index) {
  has_thread_index = true;
  thread_index = index;
}

void answer_heap_init(uintptr_t result) {
  has_heap_init = true;
  heap_init = result;
}

void name_modules(const char* file, const char* program_name) {
  module_path = file;
  module_program = program_name;
}

}  // namespace kvtest

using kvtest::say;

inline namespace kelvane {

KV_EXPORT void global_init(int on) {
  if (steps_are_told) say("global_init %d\n", on);
}

Clb_Globals::Clb_Globals() {
  if (steps_are_told) say("library globals\n");
}

Clb_Globals::~Clb_Globals() {
  if (steps_are_told) say("no library globals\n");
}

}  // namespace kelvane

extern "C" {

KV_EXPORT HMODULE WINAPI LoadLibraryA(LPCSTR name) {
  if (loads_are_told) say("load %s\n", name);
  return real<HMODULE(LPCSTR)>("LoadLibraryA")(name);
}

KV_EXPORT FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name) {
  if (lookups_are_told) say("%s\n", name);
  return real<FARPROC(HMODULE, LPCSTR)>("GetProcAddress")(module, name);
}

KV_EXPORT void InitializeCriticalSection(LPCRITICAL_SECTION section) {
  if (steps_are_told) say("section\n");
  real<void(LPCRITICAL_SECTION)>("InitializeCriticalSection")(section);
}

KV_EXPORT DWORD TlsAlloc(void) {
  if (steps_are_told) say("TlsAlloc\n");
  return has_thread_index ? thread_index : real<DWORD()>("TlsAlloc")();
}

KV_EXPORT BOOL TlsSetValue(DWORD index, LPVOID value) {
  if (steps_are_told) say("TlsSetValue %u %s\n", index, value == nullptr ? "null" : "value");
  return real<BOOL(DWORD, LPVOID)>("TlsSetValue")(index, value);
}

KV_EXPORT void KvExit(int status) {
  if (!exit_returns) return real<void(int)>("KvExit")(status);
  say("KvExit %d\n", status);
}

KV_EXPORT unsigned sleep(unsigned seconds) {
  if (!sleep_ends) return real<unsigned(unsigned)>("sleep")(seconds);
  say("sleep %u\n", seconds);
  _exit(0);
}

KV_EXPORT uintptr_t KvKernelMallocInit(uintptr_t first, uintptr_t second) {
  const uintptr_t result = real<uintptr_t(uintptr_t, uintptr_t)>("KvKernelMallocInit")(first, second);
  if (!has_heap_init) return result;
  say("KvKernelMallocInit %zx %zx while %d\n", first, second, KvDllUseMalloc);
  return heap_init;
}

KV_EXPORT void* KvKernelCalloc(size_t size) {
  if (kernel_blocks_are_told) say("KvKernelCalloc %zu\n", size);
  return real<void*(size_t)>("KvKernelCalloc")(size);
}

KV_EXPORT unsigned KvGetUserWindowsDirectoryA(char* directory, unsigned size) {
  if (questions_for_names_are_told) say("windows directory in %u\n", size);
  return real<unsigned(char*, unsigned)>("KvGetUserWindowsDirectoryA")(directory, size);
}

KV_EXPORT const char* KvTmpDir(int zero) {
  if (questions_for_names_are_told) say("temporary directory %d\n", zero);
  return real<const char*(int)>("KvTmpDir")(zero);
}

KV_EXPORT DWORD WINAPI GetModuleFileNameA(HMODULE module, LPSTR path, DWORD size) {
  if (questions_for_names_are_told) say("module file in %u\n", size);
  if (module_path == nullptr) return real<DWORD(HMODULE, LPSTR, DWORD)>("GetModuleFileNameA")(module, path, size);
  snprintf(path, size, "%s", module_path);
  return static_cast<DWORD>(strlen(module_path));
}

KV_EXPORT const char* KvGetInstanceProgramName(HMODULE module) {
  if (module_program == nullptr) return real<const char*(HMODULE)>("KvGetInstanceProgramName")(module);
  return module_program;
}

KV_EXPORT int WINAPI MultiByteToWideChar(UINT page, DWORD flags, LPCSTR text, int length, LPWSTR wide, int room) {
  if (conversions_are_told) say("convert %u %u %d %d\n", page, flags, length, room);
  return real<int(UINT, DWORD, LPCSTR, int, LPWSTR, int)>("MultiByteToWideChar")(page, flags, text, length, wide, room);
}
}
