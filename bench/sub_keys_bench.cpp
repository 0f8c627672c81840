// Sub-keys of one key, up to a million: the time of each when they are made, listed and opened by name in random order,
// alone and while another process makes some of its own below the same key. It is to stay level as they become more.
//
//   sub_keys/make/N, list/N, open/N    N sub-keys; time for each
//   sub_keys/make_beside/N, ...        beside a process that makes 100 a second
//   sub_keys/memory/N                  counter: the memory that a new process has taken when it has listed them and
//                                      opened many, in MiB
#include <benchmark/benchmark.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <utility>

#include "bench/processes.h"
#include "bench/settings.h"

namespace {

using namespace bench;

constexpr unsigned opened_of_a_round = 100000;
constexpr unsigned additions_a_second = 100;
constexpr unsigned counts[] = {1000, 10000, 100000, 1000000};

std::string sub_key_name(unsigned i) { return "Item " + std::to_string(i); }

void make_sub_keys(HKEY parent, unsigned count) {
  for (unsigned i = 0; i < count; ++i) RegCloseKey(make_key(parent, sub_key_name(i)));
}

unsigned list_sub_keys(HKEY parent) {
  char name[256];
  unsigned count = 0;
  for (DWORD size = sizeof name; RegEnumKeyExA(parent, count, name, &size, nullptr, nullptr, nullptr, nullptr) == 0;
       size = sizeof name) {
    ++count;
  }
  return count;
}

bool open_some(HKEY parent, unsigned count, unsigned times) {
  std::mt19937 random(1);
  bool all = true;
  for (unsigned i = 0; i < times; ++i) {
    HKEY key = nullptr;
    const std::string name = sub_key_name(static_cast<unsigned>(random() % count));
    all = RegOpenKeyExA(parent, name.c_str(), 0, KEY_READ, &key) == 0 && all;
    RegCloseKey(key);
  }
  return all;
}

struct Parent {
  std::string path;
  HKEY key;
};

Parent make_parent() {
  static unsigned made = 0;
  const std::string path = "Software\\Vendor\\Run" + std::to_string(getpid()) + "\\Many" + std::to_string(++made);
  return {path, make_key(HKEY_CURRENT_USER, path)};
}

// One with so many sub-keys, and those that other processes have added.
std::map<unsigned, Parent> parents;

const Parent& parent_of(unsigned count) {
  const auto [found, added] = parents.try_emplace(count);
  if (added) {
    found->second = make_parent();
    make_sub_keys(found->second.key, count);
  }
  return found->second;
}

enum class Beside { nobody, another };

// Another process that makes sub-keys of the key.
class Addition {
 public:
  Addition(Beside beside, HKEY parent) {
    static unsigned begun = 0;
    if (beside == Beside::nobody) return;
    const std::string prefix = "Another " + std::to_string(++begun) + ' ';
    unsigned made = 0;
    process_.emplace(additions_a_second,
                     [=]() mutable { RegCloseKey(make_key(parent, prefix + std::to_string(++made))); });
  }

 private:
  std::optional<Companion> process_;
};

void make(benchmark::State& state, Beside beside) {
  const auto count = static_cast<unsigned>(state.range(0));
  for (auto _ : state) {
    const Parent parent = make_parent();
    const Addition addition(beside, parent.key);
    const double begin = now();
    make_sub_keys(parent.key, count);
    state.SetIterationTime((now() - begin) / count);
    if (!parents.try_emplace(count, parent).second) RegCloseKey(parent.key);
  }
}

void list(benchmark::State& state, Beside beside) {
  const auto count = static_cast<unsigned>(state.range(0));
  HKEY parent = parent_of(count).key;
  const Addition addition(beside, parent);
  for (auto _ : state) {
    const double begin = now();
    const unsigned listed = list_sub_keys(parent);
    state.SetIterationTime((now() - begin) / listed);
    if (listed < count) return state.SkipWithError("not all sub-keys were listed");
  }
}

void open(benchmark::State& state, Beside beside) {
  const auto count = static_cast<unsigned>(state.range(0));
  HKEY parent = parent_of(count).key;
  const Addition addition(beside, parent);
  for (auto _ : state) {
    const double begin = now();
    if (!open_some(parent, count, opened_of_a_round)) return state.SkipWithError("a sub-key is missing");
    state.SetIterationTime((now() - begin) / opened_of_a_round);
  }
}

// Of this process, without what is mapped from files, in MiB.
double own_memory() {
  std::ifstream in("/proc/self/status");
  double size = 0;
  for (std::string line; std::getline(in, line);) {
    if (std::sscanf(line.c_str(), "RssAnon: %lf", &size) == 1) break;
  }
  return size / 1024;
}

constexpr char memory_option[] = "--tell-memory";

// What the new process does.
int tell_memory(const char* path, unsigned count) {
  HKEY parent = nullptr;
  if (RegOpenKeyExA(HKEY_CURRENT_USER, path, 0, KEY_READ, &parent) != 0) return 1;
  const double before = own_memory();
  if (list_sub_keys(parent) < count || !open_some(parent, count, opened_of_a_round)) return 1;
  return std::printf("%g\n", own_memory() - before) > 0 ? 0 : 1;
}

void memory(benchmark::State& state, const std::string& program) {
  const auto count = static_cast<unsigned>(state.range(0));
  const std::string command =
      program + ' ' + memory_option + " '" + parent_of(count).path + "' " + std::to_string(count);
  for (auto _ : state) {
    std::FILE* const output = popen(command.c_str(), "r");
    double taken = -1;
    const bool told = output != nullptr && std::fscanf(output, "%lf", &taken) == 1;
    if (output == nullptr || pclose(output) != 0 || !told) return state.SkipWithError("the process has failed");
    state.counters["mib"] = taken;
  }
}

void register_all(const std::string& program) {
  constexpr unsigned most_of_a_step = 20000;
  const std::pair<const char*, void (*)(benchmark::State&, Beside)> works[] = {
      {"make", make}, {"list", list}, {"open", open}};
  for (const auto& [name, work] : works) {
    for (const unsigned count : counts) {
      for (const Beside beside : {Beside::nobody, Beside::another}) {
        const std::string whole = std::string("sub_keys/") + name + (beside == Beside::another ? "_beside" : "");
        const unsigned rounds = work == open ? 1 : std::max(1u, most_of_a_step / count);
        benchmark::RegisterBenchmark(whole.c_str(), work, beside)
            ->Arg(count)
            ->UseManualTime()
            ->Iterations(rounds)
            ->Unit(benchmark::kMicrosecond);
      }
    }
  }
  for (const unsigned count : counts) {
    benchmark::RegisterBenchmark("sub_keys/memory", memory, program)->Arg(count)->Iterations(1);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::string(argv[1]) == memory_option) {
    return tell_memory(argv[2], static_cast<unsigned>(std::strtoul(argv[3], nullptr, 10)));
  }
  register_all(argv[0]);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
