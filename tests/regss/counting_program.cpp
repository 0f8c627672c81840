// A ported program that counts: adds one to a value below HKEY_LOCAL_MACHINE ("machine") or HKEY_CURRENT_USER ("user")
// and prints it, so many times (1 unless said). Between two times it kills the server that a pid file names. With
// KVTEST_VALUE the value has that name, and the program goes on as long as no server answers.
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace {

// Its end is an event.
void kill_server(const char* pid_file) {
  pid_t pid = 0;
  std::ifstream(pid_file) >> pid;
  if (pid <= 1) return;
  const int server = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
  kill(pid, SIGKILL);
  pollfd end = {server, POLLIN, 0};
  poll(&end, 1, -1);
  close(server);
}

LSTATUS count_one(HKEY root) {
  HKEY key = nullptr;
  LSTATUS code = RegCreateKeyExA(root, "Software\\Counted", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  if (code != ERROR_SUCCESS) return code;
  DWORD count = 0, size = sizeof count;
  const char* const own = std::getenv("KVTEST_VALUE");
  const char* const name = own != nullptr ? own : "count";
  RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&count), &size);
  ++count;
  code = RegSetValueExA(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&count), sizeof count);
  RegCloseKey(key);
  if (code == ERROR_SUCCESS) std::printf("%u\n", static_cast<unsigned>(count));
  return code;
}

}  // namespace

int main(int count, char** words) {
  const HKEY root = std::strcmp(words[1], "user") == 0 ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
  const int times = count > 2 ? std::atoi(words[2]) : 1;
  for (int i = 0; i < times; ++i) {
    if (i > 0 && count > 3) kill_server(words[3]);
    LSTATUS code = count_one(root);
    while (code == RPC_S_SERVER_UNAVAILABLE && std::getenv("KVTEST_VALUE") != nullptr) code = count_one(root);
    if (code != ERROR_SUCCESS) {
      std::fprintf(stderr, "error %d\n", static_cast<int>(code));
      return 1;
    }
  }
  return 0;
}
