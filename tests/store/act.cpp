// A ported program that does what its arguments say, one step after the other, and writes a line about each:
// the result code and what was read. Steps are separated by ",". Keys are written "HKLM\path" or "HKCU\path".
//
//   open KEY | make KEY | volatile KEY | delete KEY | set KEY NAME TEXT | number KEY NAME NUMBER |
//   large KEY NAME SIZE | get KEY NAME | log LEVEL TEXT | names KEY | copy FROM TO | rename FROM TO | remove FILE |
//   kill PROCESS | chmod OCTAL FILE | chdir FOLDER | umask OCTAL | setenv NAME VALUE | busy KEY | backup FOLDER | await
//   DESCRIPTOR | killed-at-rename | end HOW
#include <kelvane/log.h>
#include <kelvane/registry_admin.h>
#include <windows.h>

#include <fcntl.h>

#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace {

using Words = std::vector<std::string>;

HKEY root_of(const std::string& path) {
  return path.compare(0, 4, "HKCU") == 0 ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
}
const char* below_root(const std::string& path) { return path.c_str() + (path.size() > 4 ? 5 : 4); }

std::string text(LSTATUS code) { return std::to_string(code); }

LSTATUS create(const std::string& path, DWORD options, HKEY* key, DWORD* disposition) {
  return RegCreateKeyEx(root_of(path), below_root(path), 0, nullptr, options, KEY_ALL_ACCESS, nullptr, key,
                        disposition);
}

std::string open_key(const Words& step) {
  HKEY key = nullptr;
  LSTATUS code = RegOpenKeyEx(root_of(step[1]), below_root(step[1]), 0, KEY_READ, &key);
  if (code == ERROR_SUCCESS) RegCloseKey(key);
  return text(code);
}

std::string make_key(const Words& step) {
  HKEY key = nullptr;
  DWORD disposition = 0;
  LSTATUS code = create(step[1], step[0] == "volatile" ? REG_OPTION_VOLATILE : 0, &key, &disposition);
  if (code == ERROR_SUCCESS) RegCloseKey(key);
  return text(code) + " " + std::to_string(disposition);
}

std::string delete_key(const Words& step) { return text(RegDeleteKey(root_of(step[1]), below_root(step[1]))); }

std::string set_data(const std::string& path, const std::string& name, DWORD type, const std::string& data) {
  HKEY key = nullptr;
  LSTATUS code = create(path, 0, &key, nullptr);
  if (code != ERROR_SUCCESS) return text(code);
  code = RegSetValueEx(key, name.c_str(), 0, type, reinterpret_cast<const BYTE*>(data.data()),
                       static_cast<DWORD>(data.size()));
  RegCloseKey(key);
  return text(code);
}

std::string set_text(const Words& step) { return set_data(step[1], step[2], REG_SZ, step[3] + '\0'); }
std::string set_number(const Words& step) {
  const DWORD number = static_cast<DWORD>(std::stoul(step[3]));
  return set_data(step[1], step[2], REG_DWORD, std::string(reinterpret_cast<const char*>(&number), sizeof number));
}
std::string set_large(const Words& step) {
  return set_data(step[1], step[2], REG_BINARY, std::string(std::stoul(step[3]), 'L'));
}

std::string get_text(const Words& step) {
  HKEY key = nullptr;
  LSTATUS code = RegOpenKeyEx(root_of(step[1]), below_root(step[1]), 0, KEY_READ, &key);
  if (code != ERROR_SUCCESS) return text(code);
  std::vector<char> data(4096);
  DWORD size = static_cast<DWORD>(data.size());
  code = RegQueryValueEx(key, step[2].c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(data.data()), &size);
  RegCloseKey(key);
  return code == ERROR_SUCCESS ? "0 " + std::string(data.data()) : text(code);
}

std::string count_names(const Words& step) {
  HKEY key = nullptr;
  DWORD count = 0;
  LSTATUS code = RegOpenKeyEx(root_of(step[1]), below_root(step[1]), 0, KEY_READ, &key);
  if (code == ERROR_SUCCESS) {
    code = RegQueryInfoKey(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count, nullptr, nullptr, nullptr,
                           nullptr);
    RegCloseKey(key);
  }
  return text(code) + " " + std::to_string(count);
}

// In place, the same file afterwards, as an administrator's editor may do it.
std::string copy_file(const Words& step) {
  std::ifstream from(step[1], std::ios::binary);
  std::ofstream(step[2], std::ios::binary | std::ios::trunc) << from.rdbuf();
  return "copied";
}
std::string rename_file(const Words& step) { return text(rename(step[1].c_str(), step[2].c_str())); }
std::string remove_file(const Words& step) {
  return std::filesystem::remove_all(step[1]) > 0 ? "removed" : "not there";
}
std::string change_folder(const Words& step) { return text(chdir(step[1].c_str())); }
std::string change_mode(const Words& step) {
  return text(chmod(step[2].c_str(), static_cast<mode_t>(std::stoul(step[1], nullptr, 8))));
}
std::string change_mask(const Words& step) {
  umask(static_cast<mode_t>(std::stoul(step[1], nullptr, 8)));
  return "masked";
}
std::string change_variable(const Words& step) { return text(setenv(step[1].c_str(), step[2].c_str(), 1)); }

// The process has ended when this returns.
std::string kill_process(const Words& step) {
  const pid_t process = std::stoi(step[1]);
  pollfd ended = {static_cast<int>(syscall(SYS_pidfd_open, process, 0)), POLLIN, 0};
  kill(process, SIGKILL);
  while (ended.fd >= 0 && poll(&ended, 1, -1) < 0) {
  }
  close(ended.fd);
  return "killed";
}

// Threads that read and write for ever; returns when each has done so once.
std::string keep_busy(const Words& step) {
  static std::atomic<int> at_work = 0;
  constexpr int threads = 8;
  for (int number = 0; number < threads; ++number) {
    std::thread([path = step[1], name = std::to_string(number)] {
      for (bool first = true;; first = false) {
        set_data(path, name, REG_DWORD, "1234");
        open_key({"open", path});
        if (first) ++at_work;
      }
    }).detach();
  }
  while (at_work < threads) std::this_thread::yield();
  return "busy";
}

std::string write_log(const Words& step) {
  RegLog().Output(std::stoi(step[1]), "%s", step[2].c_str());
  return "logged";
}

std::string backup(const Words& step) { return text(static_cast<LSTATUS>(RegBackup(step[1].c_str(), nullptr))); }

// Waits until nobody can write to the descriptor any more.
std::string await(const Words& step) {
  char byte;
  while (read(std::stoi(step[1]), &byte, 1) > 0) {
  }
  return "on";
}

bool dies_at_rename = false;

std::string die_at_rename(const Words&) {
  dies_at_rename = true;
  return "marked";
}

std::string end(const Words& step) {
  if (step[1] == "exit") exit(0);
  if (step[1] == "_exit") _exit(0);
  if (step[1] == "quick_exit") quick_exit(0);
  if (step[1] == "thread") std::thread([] { exit(0); }).join();
  return "not ended";
}

void run(const Words& step) {
  using Action = std::string (*)(const Words&);
  static const std::map<std::string, Action> all = {{"open", open_key},
                                                    {"make", make_key},
                                                    {"volatile", make_key},
                                                    {"delete", delete_key},
                                                    {"set", set_text},
                                                    {"large", set_large},
                                                    {"get", get_text},
                                                    {"names", count_names},
                                                    {"copy", copy_file},
                                                    {"rename", rename_file},
                                                    {"kill", kill_process},
                                                    {"busy", keep_busy},
                                                    {"remove", remove_file},
                                                    {"chmod", change_mode},
                                                    {"chdir", change_folder},
                                                    {"umask", change_mask},
                                                    {"setenv", change_variable},
                                                    {"backup", backup},
                                                    {"number", set_number},
                                                    {"log", write_log},
                                                    {"await", await},
                                                    {"end", end},
                                                    {"killed-at-rename", die_at_rename}};
  std::string line = all.at(step[0])(step) + "\n";
  [[maybe_unused]] ssize_t written = write(STDOUT_FILENO, line.data(), line.size());
}

}  // namespace

// In the place of the system's, also for the libraries: a program that is to die here dies with the new file
// written and the old one in its place.
extern "C" __attribute__((visibility("default"))) int rename(const char* from, const char* to) noexcept {
  if (dies_at_rename) kill(getpid(), SIGKILL);
  return renameat(AT_FDCWD, from, AT_FDCWD, to);
}

int main(int argc, char** argv) {
  Words step;
  for (int i = 1; i < argc; ++i) {
    if (std::string(argv[i]) != ",") step.emplace_back(argv[i]);
    if (i + 1 == argc || std::string(argv[i]) == ",") {
      run(step);
      step.clear();
    }
  }
}
