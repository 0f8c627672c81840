#include "tests/bootstrap/doubles.h"

#include <dlfcn.h>
#include <kelvane/advapi32.h>
#include <kelvane/bone.h>
#include <kelvane/descriptor.h>
#include <kelvane/heap.h>
#include <kelvane/module.h>
#include <kelvane/notify.h>
#include <kelvane/process.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

bool steps_are_told = false;
bool loads_are_told = false;
bool lookups_are_told = false;
bool heap_of_bones_is_told = false;
bool kernel_blocks_are_told = false;
bool conversions_are_told = false;
bool questions_for_names_are_told = false;
bool exit_returns = false;
bool sleep_ends = false;
bool has_host = true;
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

// A heap of bones that says when its bones are asked for and when it goes.
class Told_Heap final : public Sequence {
 public:
  ~Told_Heap() override { kvtest::say("no heap of bones\n"); }
  bool is_empty() const override { return count_ == 0; }
  size_t count() const override { return count_; }
  void apply(const Proc_Context& procedure) const override {
    kvtest::say("each bone\n");
    for (size_t i = 0; i < count_; ++i) procedure(bones_[i]);
  }
  void insert(Bone* element) override { bones_[count_++] = element; }
  bool remove_first(Bone*& out_element) override { return (out_element = nullptr) != nullptr; }
  bool remove(const Bone*) override { return false; }
  Bone* at(size_t position) const override { return position < count_ ? bones_[position] : nullptr; }

 private:
  Bone* bones_[64] = {};
  size_t count_ = 0;
};

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
void tell_heap_of_bones() { heap_of_bones_is_told = true; }
void forget_host() { has_host = false; }
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

Sequence* Seq_Desc::make() const {
  if (!heap_of_bones_is_told) return real<Sequence*(const Seq_Desc*)>("_ZNK7kelvane8Seq_Desc4makeEv")(this);
  heap_of_bones_is_told = false;
  return new Told_Heap;
}

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

KV_EXPORT int KvRegisterNotificationHandler(int kind, NotifOp* handler) {
  if (steps_are_told) say("handler %d\n", kind);
  return real<int(int, NotifOp*)>("KvRegisterNotificationHandler")(kind, handler);
}

KV_EXPORT int gethostname(char* name, size_t size) {
  if (has_host) return real<int(char*, size_t)>("gethostname")(name, size);
  memset(name, 'x', size);
  errno = EFAULT;
  return -1;
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
