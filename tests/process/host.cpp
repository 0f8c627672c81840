// A program that is linked with nothing of ours and loads what its arguments name:
//
//   load F        a shared object; its functions are then known to the next words
//   unload        the last one loaded
//   key N         opens a key of this name, which stays open
//   end E         ends by return, exit, quick_exit or _exit with status 5
//
// It defines global_init itself, which writes "host global_init N" to the file named by KVTEST_RECORD.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

inline namespace kelvane {

KV_EXPORT void global_init(int on) {
  const char* file = getenv("KVTEST_RECORD");
  if (file == nullptr) return;
  const int descriptor = open(file, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  dprintf(descriptor, "host global_init %d\n", on);
  close(descriptor);
}

}  // namespace kelvane

namespace {

constexpr int status = 5;
void* loaded[8];
int loaded_count = 0;

void load(const char* file) {
  void* module = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) {
    fprintf(stderr, "%s\n", dlerror());
    _exit(99);
  }
  loaded[loaded_count++] = module;
}

void open_key(const char* name) {
  using Create = LSTATUS(HKEY, LPCSTR, PHKEY);
  auto* create = reinterpret_cast<Create*>(dlsym(loaded[loaded_count - 1], "RegCreateKeyA"));
  if (create == nullptr) _exit(98);
  HKEY key = nullptr;
  if (create(HKEY_CURRENT_USER, name, &key) != 0) _exit(97);
}

void end(const char* how) {
  if (strcmp(how, "exit") == 0) exit(status);
  if (strcmp(how, "quick_exit") == 0) quick_exit(status);
  if (strcmp(how, "_exit") == 0) _exit(status);
}

}  // namespace

int main(int, char** argv) {
  for (char** word = argv + 1; *word != nullptr; ++word) {
    if (strcmp(*word, "load") == 0) load(*++word);
    if (strcmp(*word, "unload") == 0) dlclose(loaded[--loaded_count]);
    if (strcmp(*word, "key") == 0) open_key(*++word);
    if (strcmp(*word, "end") == 0) end(*++word);
  }
  return status;
}
