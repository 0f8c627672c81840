// The registry over its store, beside what the same costs by hand in the same run: values by name against a
// hash map of whole paths, listing against its goal, writing against a bare SQLite transaction of one row. HOME
// decides where the hive is made; ctest gives it a folder of its own.

#include <benchmark/benchmark.h>
#include <unistd.h>
#include <windows.h>

#include <string>
#include <vector>

#include "bench/bare_writer.h"
#include "bench/path_map.h"
#include "bench/settings.h"

namespace {

using namespace bench;

constexpr unsigned listed = 1000;

// Hot values were read before; what was written meanwhile by another row made some of them cold.
void value_by_name(benchmark::State& state) {
  const std::vector<HKEY>& keys = settings().keys;
  const std::vector<Hot_Value> values = pick_hot(static_cast<unsigned>(state.range(0)));
  for (const Hot_Value& value : values) get_number(keys[value.key], value.name.c_str());
  Round_Robin wanted(values);
  for (auto _ : state) {
    const Hot_Value& value = wanted.next();
    benchmark::DoNotOptimize(get_number(keys[value.key], value.name.c_str()));
  }
}

void value_in_hash_map(benchmark::State& state) {
  const Path_Map& map = whole_paths();
  const std::vector<Hot_Value> values = pick_hot(static_cast<unsigned>(state.range(0)));
  for (const Hot_Value& value : values) benchmark::DoNotOptimize(map.find(value.path)->second);
  Round_Robin wanted(values);
  for (auto _ : state) benchmark::DoNotOptimize(map.find(wanted.next().path)->second);
}

void open_five_parts(benchmark::State& state) {
  settings();
  for (auto _ : state) {
    HKEY key = nullptr;
    if (RegOpenKeyExA(HKEY_CURRENT_USER, "Software\\Vendor\\Bench\\Product7\\Deep", 0, KEY_READ, &key) == 0) {
      RegCloseKey(key);
    } else {
      state.PauseTiming();
      RegCloseKey(make_key(settings().keys[7], "Deep"));
      state.ResumeTiming();
    }
  }
}

void list_1000_keys(benchmark::State& state) {
  settings();
  HKEY parent = settings().parent;
  char name[256];
  for (auto _ : state) {
    DWORD count = 0;
    for (DWORD i = 0;; ++i, ++count) {
      DWORD size = sizeof name;
      FILETIME written;
      if (RegEnumKeyExA(parent, i, name, &size, nullptr, nullptr, nullptr, &written) != 0) break;
    }
    if (count != listed) return state.SkipWithError("not all keys were listed");
  }
}

void list_1000_values(benchmark::State& state) {
  static HKEY key = [] {
    HKEY made = make_key(HKEY_CURRENT_USER, "Software\\Vendor\\Many");
    for (unsigned i = 0; i < listed; ++i) set_number(made, value_name(i), i);
    return made;
  }();
  char name[256];
  for (auto _ : state) {
    DWORD count = 0;
    for (DWORD i = 0;; ++i, ++count) {
      DWORD size = sizeof name;
      DWORD data = 0;
      DWORD data_size = sizeof data;
      DWORD type = 0;
      if (RegEnumValueA(key, i, name, &size, nullptr, &type, reinterpret_cast<BYTE*>(&data), &data_size) != 0) break;
    }
    if (count != listed) return state.SkipWithError("not all values were listed");
  }
}

void write_value(benchmark::State& state) {
  static HKEY key = make_key(HKEY_CURRENT_USER, "Software\\Vendor\\Written");
  DWORD number = 0;
  for (auto _ : state) set_number(key, "WindowHeight", ++number);
}

void create_key(benchmark::State& state) {
  static unsigned made = 0;
  static HKEY parent = make_key(HKEY_CURRENT_USER, "Software\\Vendor\\Made");
  for (auto _ : state)
    RegCloseKey(make_key(parent, "Run" + std::to_string(getpid()) + " Key" + std::to_string(made++)));
}

void bare_transaction(benchmark::State& state) {
  Bare_Writer bare("bare.db", "WindowHeight");
  int number = 0;
  for (auto _ : state) {
    if (!bare.write(++number)) state.SkipWithError("the row was not written");
  }
}

BENCHMARK(value_by_name)->Arg(1)->Arg(hot_values);
BENCHMARK(value_in_hash_map)->Arg(1)->Arg(hot_values);
BENCHMARK(open_five_parts);
BENCHMARK(list_1000_keys)->Unit(benchmark::kMicrosecond);
BENCHMARK(list_1000_values)->Unit(benchmark::kMicrosecond);
BENCHMARK(write_value);
BENCHMARK(create_key);
BENCHMARK(bare_transaction);

}  // namespace
