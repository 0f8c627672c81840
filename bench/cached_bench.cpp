// Hot values through the machine's server beside the same in process, both by the entries that libadvapi32 calls, in
// one process: it binds the two libraries side by side. And what a question to the server costs, for who wants to know
// what a client's memory saves. HOME decides where the hives lie.

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <kelvane/registry_entries.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <winerror.h>
#include <winreg.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr unsigned key_count = 20;
constexpr unsigned values_of_a_key = 50;

struct Entries {
#define KV_SLOT(number, name, result, parameters, arguments) decltype(&::name) name;
#include <kelvane/registry_slots.def>
#undef KV_SLOT
};

[[noreturn]] void give_up(const std::string& why) {
  std::fprintf(stderr, "cached_bench: %s\n", why.c_str());
  std::exit(1);
}

Entries bind(const char* file) {
  void* const library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) give_up(dlerror());
  Entries bound{};
#define KV_SLOT(number, name, result, parameters, arguments) \
  bound.name = reinterpret_cast<decltype(&::name)>(dlsym(library, #name));
#include <kelvane/registry_slots.def>
#undef KV_SLOT
  bound.KvIOnLoadDll();
  return bound;
}

using Text = std::vector<WinChar>;

Text win(const std::string& ascii) {
  Text result;
  for (const char each : ascii) result.push_back({0, static_cast<BYTE>(each)});
  result.push_back({0, 0});
  return result;
}

// regss, which ends with this process.
class Server {
 public:
  explicit Server(const std::string& folder) : process_(fork()) {
    if (process_ != 0) return;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const char* name : {"KVREGISTRY", "KVREGISTRY_MODE", "KVCORE_PRIVATE_DATA"}) unsetenv(name);
    setenv("KVMODULE_PATH", KV_MODULE_FOLDER, 1);
    const std::string core = folder + "/server";
    execl(REGSS_PROGRAM, REGSS_PROGRAM, "--machine", "--core-data", core.c_str(), "--log-level", "0", nullptr);
    _exit(127);
  }
  ~Server() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
  }
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

 private:
  const pid_t process_;
};

std::string prepared_folder() {
  const char* const home = std::getenv("HOME");
  const std::string folder = std::string(home == nullptr ? "/tmp" : home) + "/cached_bench";
  for (const char* name : {"", "/tmp", "/server", "/own"}) mkdir((folder + name).c_str(), 0755);
  chmod((folder + "/tmp").c_str(), 01777);
  setenv("TMPDIR", (folder + "/tmp").c_str(), 1);
  setenv("KVREGISTRY", (folder + "/own/hklm.hive:" + folder + "/own/hkcu.bin").c_str(), 1);
  setenv("KVCORE_PRIVATE_DATA", (folder + "/own").c_str(), 1);
  setenv("KVREGISTRY_MODE", "0", 1);
  return folder;
}

// One of the two, with the same keys and values.
struct Side {
  explicit Side(const char* file) : entries(bind(file)) {
    for (unsigned i = 0; i < key_count; ++i) keys.push_back(make_key("Bench\\Product" + std::to_string(i)));
    for (unsigned j = 0; j < values_of_a_key; ++j) names.push_back(win("WindowHeight" + std::to_string(j)));
    for (const HKEY key : keys) {
      for (const Text& name : names) set(key, name, 4711);
    }
  }
  HKEY make_key(const std::string& path) const {
    HKEY key = nullptr;
    const DWORD code = entries.KvIRegCreateKeyEx(HKEY_LOCAL_MACHINE, win(path).data(), 0, nullptr, 0, KEY_ALL_ACCESS,
                                                 nullptr, &key, nullptr, 0, nullptr);
    if (code != 0) give_up("no key: " + std::to_string(code));
    return key;
  }
  void set(HKEY key, const Text& name, DWORD number) const {
    const auto* const bytes = reinterpret_cast<const BYTE*>(&number);
    if (entries.KvIRegSetValueEx(key, name.data(), 0, REG_DWORD, bytes, sizeof number, nullptr) != 0)
      give_up("no value");
  }
  DWORD get(HKEY key, const Text& name) const {
    DWORD type = 0, number = 0, size = sizeof number;
    if (entries.KvIRegQueryValueEx(key, name.data(), nullptr, &type, reinterpret_cast<BYTE*>(&number), &size,
                                   nullptr) != 0) {
      give_up("no value");
    }
    return number;
  }

  const Entries entries;
  std::vector<HKEY> keys;
  std::vector<Text> names;
};

struct Both {
  const std::string folder = prepared_folder();
  const Server server{folder};
  const Side served{KV_MODULE_FOLDER "/advapi32client.dll"};
  const Side in_process{KV_MODULE_FOLDER "/advapi32impl.dll"};
};

const Both& both() {
  static const Both made;
  return made;
}

void read_hot(benchmark::State& state, const Side& side) {
  const unsigned keys = state.range(0) == 1 ? 1 : key_count;
  const unsigned values = state.range(0) == 1 ? 1 : values_of_a_key;
  unsigned key = 0, value = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(side.get(side.keys[key], side.names[value]));
    if (++key == keys) {
      key = 0;
      value = value + 1 == values ? 0 : value + 1;
    }
  }
}

void hot_through_server(benchmark::State& state) { read_hot(state, both().served); }
void hot_in_process(benchmark::State& state) { read_hot(state, both().in_process); }

// Not kept: each is a question.
void facts(benchmark::State& state, const Side& side) {
  for (auto _ : state) {
    DWORD keys = 0, values = 0;
    const DWORD code = side.entries.KvIRegQueryInfoKey(side.keys[0], nullptr, nullptr, nullptr, &keys, nullptr, nullptr,
                                                       &values, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (code != 0 || values != values_of_a_key) return state.SkipWithError("no facts");
  }
}

void facts_through_server(benchmark::State& state) { facts(state, both().served); }
void facts_in_process(benchmark::State& state) { facts(state, both().in_process); }

// Reading one key while another one of the same hive is written before each read.
void read_behind_a_write(benchmark::State& state) {
  const Side& side = both().served;
  DWORD number = 0;
  for (auto _ : state) {
    state.PauseTiming();
    side.set(side.keys[1], side.names[0], ++number);
    state.ResumeTiming();
    benchmark::DoNotOptimize(side.get(side.keys[0], side.names[0]));
  }
}

BENCHMARK(hot_through_server)->Arg(1)->Arg(1000);
BENCHMARK(hot_in_process)->Arg(1)->Arg(1000);
BENCHMARK(facts_through_server)->UseRealTime();
BENCHMARK(facts_in_process)->UseRealTime();
BENCHMARK(read_behind_a_write)->UseRealTime();

}  // namespace
