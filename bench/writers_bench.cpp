// Eight processes that write values of one hive as fast as they can, each one of its own, beside eight that write rows
// of one bare SQLite file with the same settings. Counters: how long a single write has taken at worst, and 999 of
// a thousand at worst, in milliseconds.
#include <benchmark/benchmark.h>
#include <windows.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "bench/bare_writer.h"
#include "bench/processes.h"
#include "bench/settings.h"

namespace {

using namespace bench;

constexpr unsigned writers = 8;
constexpr unsigned writes_of_a_round = 500;

std::string own_name(unsigned writer) { return "Writer" + std::to_string(writer); }

// The times of all writes of a round.
class Waits {
 public:
  Waits() : memory_(writers * writes_of_a_round * sizeof(double)) {}

  // In the process of a writer.
  void measure(unsigned writer, const std::function<void(unsigned)>& write) const {
    double* wait = static_cast<double*>(memory_.data()) + writer * writes_of_a_round;
    for (unsigned i = 0; i < writes_of_a_round; ++i) {
      const double begin = now();
      write(i);
      *wait++ = now() - begin;
    }
  }

  void add_round() {
    const double* const first = static_cast<const double*>(memory_.data());
    all_.insert(all_.end(), first, first + writers * writes_of_a_round);
  }
  void tell(benchmark::State& state) {
    std::sort(all_.begin(), all_.end());
    state.counters["longest_ms"] = all_.back() * 1e3;
    state.counters["of_999_ms"] = all_[all_.size() - 1 - all_.size() / 1000] * 1e3;
    state.SetItemsProcessed(static_cast<std::int64_t>(all_.size()));
  }

 private:
  Shared_Memory memory_;
  std::vector<double> all_;
};

// The first round opens what each process needs.
void write_in_processes(benchmark::State& state, Waits& waits, const std::function<void(unsigned)>& work) {
  Crowd crowd(writers, work);
  crowd.run_round();
  for (auto _ : state) {
    const double seconds = crowd.run_round();
    if (seconds < 0) return state.SkipWithError("a writer has died");
    state.SetIterationTime(seconds);
    waits.add_round();
  }
  waits.tell(state);
}

void eight_writers(benchmark::State& state) {
  static HKEY parent = make_key(HKEY_CURRENT_USER, "Software\\Vendor\\Writers");
  Waits waits;
  write_in_processes(state, waits, [&](unsigned writer) {
    static HKEY key = make_key(parent, own_name(writer));
    waits.measure(writer, [&](unsigned i) { set_number(key, "WindowHeight", i); });
  });
}

void eight_bare_writers(benchmark::State& state) {
  Waits waits;
  write_in_processes(state, waits, [&](unsigned writer) {
    static Bare_Writer bare("bare_writers.db", own_name(writer));
    waits.measure(writer, [&](unsigned i) {
      if (!bare.write(static_cast<int>(i))) std::abort();
    });
  });
}

BENCHMARK(eight_bare_writers)->Name("writers/bare")->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(eight_writers)->Name("writers/registry")->UseManualTime()->Unit(benchmark::kMillisecond);

}  // namespace
