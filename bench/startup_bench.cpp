// From init_advapi32 to the first value of a hive of 50,000 keys and of one of 100, each time in a process of its own.
// The hives lie in folders below HOME.

#include <benchmark/benchmark.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

// The home of the processes that use a hive of so many keys.
std::string home_of(long count) {
  const char* const home = std::getenv("HOME");
  return std::string(home == nullptr ? "/tmp" : home) + "/first_value." + std::to_string(count);
}

std::string command(const char* what, long count) {
  return "HOME='" + home_of(count) + "' '" + FIRST_VALUE_PROGRAM + "' " + what + ' ' + std::to_string(count);
}

bool make_hive(long count) {
  mkdir(home_of(count).c_str(), 0700);
  return std::system(command("make", count).c_str()) == 0;
}

// Nanoseconds as the child prints them, -1 when it failed.
double run_child(const std::string& reading) {
  std::FILE* output = popen(reading.c_str(), "r");
  double nanoseconds = -1;
  if (output != nullptr && std::fscanf(output, "%lf", &nanoseconds) != 1) nanoseconds = -1;
  return output != nullptr && pclose(output) == 0 ? nanoseconds : -1;
}

void first_value(benchmark::State& state) {
  const long count = static_cast<long>(state.range(0));
  struct stat folder;
  if (stat(home_of(count).c_str(), &folder) != 0 && !make_hive(count)) {
    return state.SkipWithError("the hive could not be made");
  }
  const std::string reading = command("read", count);
  for (auto _ : state) {
    const double nanoseconds = run_child(reading);
    if (nanoseconds < 0) return state.SkipWithError("the child failed");
    state.SetIterationTime(nanoseconds * 1e-9);
  }
}

BENCHMARK(first_value)->Arg(100)->Arg(50000)->UseManualTime()->Iterations(50)->Unit(benchmark::kMillisecond);

}  // namespace
