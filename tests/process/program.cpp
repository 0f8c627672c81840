// A ported program that does what its arguments say, one after the other:
//
//   load F, unload        a shared object; at most one at a time
//   start                 starts the library again
//   destroy               takes the library down, the registry still open
//   daemon                goes on in a child that has closed every descriptor; the parent ends by _exit
//   fork                  goes on in parent and child; the parent waits for the child first
//   exit-handler          lets a handler flush a key at the end
//   flush                 calls the registry
//   return, exit, KvExit, Kv_Exit, thread (exit from a second thread), quick_exit, _exit    ends with status 5
#include <dlfcn.h>
#include <kelvane/advapi32.h>
#include <kelvane/process.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

constexpr int status = 5;
void* loaded = nullptr;

void flush() { RegFlushKey(HKEY_CURRENT_USER); }

void load(const char* file) {
  loaded = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (loaded == nullptr) _exit(99);
}

void become_daemon() {
  if (fork() != 0) _exit(0);
  setsid();
  for (int i = 0; i < 1024; ++i) close(i);
}

void fork_and_wait() {
  const pid_t child = fork();
  if (child != 0) waitpid(child, nullptr, 0);
}

// Does not come back when the word is an end.
void end_if_told(const char* word) {
  if (strcmp(word, "exit") == 0) exit(status);
  if (strcmp(word, "KvExit") == 0) KvExit(status);
  if (strcmp(word, "Kv_Exit") == 0) Kv_Exit(status);
  if (strcmp(word, "thread") == 0) std::thread([] { exit(status); }).join();
  if (strcmp(word, "quick_exit") == 0) quick_exit(status);
  if (strcmp(word, "_exit") == 0) _exit(status);
}

void obey(const char* word) {
  if (strcmp(word, "unload") == 0) dlclose(loaded);
  if (strcmp(word, "start") == 0) init_advapi32();
  if (strcmp(word, "destroy") == 0) KvDestroyAdvapi32();
  if (strcmp(word, "daemon") == 0) become_daemon();
  if (strcmp(word, "fork") == 0) fork_and_wait();
  if (strcmp(word, "exit-handler") == 0) atexit(flush);
  if (strcmp(word, "flush") == 0) flush();
  end_if_told(word);
}

}  // namespace

int main(int, char** argv) {
  for (char** word = argv + 1; *word != nullptr; ++word) {
    if (strcmp(*word, "load") == 0) {
      load(*++word);
    } else {
      obey(*word);
    }
  }
  return status;
}
