// Reading in two processes beside one, and reading beside a writer.
//
//   readers/map/N       N processes look up values in hash maps of their own: what the machine gives
//   readers/registry/N  the same with RegQueryValueExA; the rate counts all processes. Counter: nanoseconds that the
//                       processors work for a read, which tells whether readers hinder each other on a machine that
//                       has other work to do
//   reader/alone/K      a thousand hot values of K keys
//   reader/beside/K     the same while another process writes a value of another key a thousand times a second;
//                       counter: its commits a second
#include <benchmark/benchmark.h>
#include <windows.h>

#include <functional>
#include <string>
#include <vector>

#include "bench/path_map.h"
#include "bench/processes.h"
#include "bench/settings.h"

namespace {

using namespace bench;

constexpr unsigned reads_of_a_round = 200000;
constexpr unsigned commits_a_second = 1000;

const std::vector<Hot_Value>& hot() {
  static const std::vector<Hot_Value> values = pick_hot(hot_values);
  return values;
}

void look_up_values(unsigned) {
  Round_Robin wanted(hot());
  for (unsigned i = 0; i < reads_of_a_round; ++i) benchmark::DoNotOptimize(whole_paths().find(wanted.next().path));
}

void read_values(unsigned) {
  Round_Robin wanted(hot());
  for (unsigned i = 0; i < reads_of_a_round; ++i) {
    const Hot_Value& value = wanted.next();
    benchmark::DoNotOptimize(get_number(settings().keys[value.key], value.name.c_str()));
  }
}

// The first round fills what each process holds.
void read_in_processes(benchmark::State& state, const std::function<void(unsigned)>& read) {
  const auto count = static_cast<unsigned>(state.range(0));
  Crowd readers(count, read);
  readers.run_round();
  const double before = readers.processor_time();
  for (auto _ : state) {
    const double seconds = readers.run_round();
    if (seconds < 0) return state.SkipWithError("a reader has died");
    state.SetIterationTime(seconds);
  }
  const auto reads = static_cast<std::int64_t>(state.iterations()) * count * reads_of_a_round;
  state.SetItemsProcessed(reads);
  state.counters["processor_ns"] = (readers.processor_time() - before) / static_cast<double>(reads) * 1e9;
}

void map_readers(benchmark::State& state) {
  whole_paths();
  read_in_processes(state, look_up_values);
}

void registry_readers(benchmark::State& state) {
  settings();
  read_in_processes(state, read_values);
}

void read_hot(benchmark::State& state) {
  const std::vector<HKEY>& keys = settings().keys;
  const std::vector<Hot_Value> values = pick_hot(hot_values, static_cast<unsigned>(state.range(0)));
  Round_Robin wanted(values);
  for (auto _ : state) {
    const Hot_Value& value = wanted.next();
    benchmark::DoNotOptimize(get_number(keys[value.key], value.name.c_str()));
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

void read_beside_writer(benchmark::State& state) {
  settings();
  static HKEY written = make_key(HKEY_CURRENT_USER, "Software\\Vendor\\Counted");
  DWORD number = 0;
  const Companion writer(commits_a_second, [&] { set_number(written, "WindowHeight", ++number); });
  read_hot(state);
  state.counters["commits_a_second"] = writer.steps_a_second();
}

constexpr int one_key = 1;
constexpr int keys_of_a_program = 20;

void with_keys(benchmark::internal::Benchmark* reader) {
  reader->Arg(one_key)->Arg(keys_of_a_program)->Arg(key_count)->UseRealTime();
}

BENCHMARK(map_readers)->Name("readers/map")->Arg(1)->Arg(2)->UseManualTime();
BENCHMARK(registry_readers)->Name("readers/registry")->Arg(1)->Arg(2)->UseManualTime();
BENCHMARK(read_hot)->Name("reader/alone")->Apply(with_keys);
BENCHMARK(read_beside_writer)->Name("reader/beside")->Apply(with_keys);

}  // namespace
