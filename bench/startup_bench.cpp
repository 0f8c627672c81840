// From init_advapi32 to the first value of a hive of 50,000 keys, in a process of its own each time. HOME decides
// where the hive is made; ctest gives it a folder of its own.

#include <benchmark/benchmark.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr unsigned key_count = 50000;

bool make_hive() {
  HKEY parent = nullptr;
  if (RegCreateKeyExA(HKEY_LOCAL_MACHINE, "Software\\Bench", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &parent,
                      nullptr) != ERROR_SUCCESS)
    return false;
  bool good = true;
  for (DWORD i = 0; i < key_count && good; ++i) {
    HKEY key = nullptr;
    DWORD disposition = 0;
    const std::string name = "Key " + std::to_string(i);
    good = RegCreateKeyExA(parent, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, &disposition) == 0;
    if (good && disposition == REG_CREATED_NEW_KEY)
      good = RegSetValueExA(key, "Value", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&i), sizeof i) == 0;
    if (good) RegCloseKey(key);
  }
  RegFlushKey(parent);
  RegCloseKey(parent);
  return good;
}

// Nanoseconds as the child prints them, -1 when it failed.
double run_child() {
  std::FILE* output = popen(FIRST_VALUE_PROGRAM, "r");
  double nanoseconds = -1;
  if (output != nullptr && std::fscanf(output, "%lf", &nanoseconds) != 1) nanoseconds = -1;
  return output != nullptr && pclose(output) == 0 ? nanoseconds : -1;
}

void first_value_of_50000_keys(benchmark::State& state) {
  static const bool made = make_hive();
  if (!made) return state.SkipWithError("the hive could not be made");
  for (auto _ : state) {
    const double nanoseconds = run_child();
    if (nanoseconds < 0) return state.SkipWithError("the child failed");
    state.SetIterationTime(nanoseconds * 1e-9);
  }
}

BENCHMARK(first_value_of_50000_keys)->UseManualTime()->Iterations(50)->Unit(benchmark::kMillisecond);

}  // namespace
