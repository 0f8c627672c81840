// kvreg as people start it: an import and two exports of many values, and the query of one. Everything lies in folders
// of HOME. Times are those of the processor, of the whole program with its start and end.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

constexpr int keys = 1000;
constexpr int small_values = 100'000;
constexpr int large_values = 20'000;
constexpr int large_units = 511;  // a text of 1 KiB with its terminator

std::string folder() {
  const char* const home = std::getenv("HOME");
  return std::string(home == nullptr ? "/tmp" : home) + "/kvreg_bench";
}

double seconds_of(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double worked(const rusage& usage) { return seconds_of(usage.ru_utime) + seconds_of(usage.ru_stime); }

// What the processors have worked for this process.
double worked_here() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return worked(usage);
}

// Runs a program with a HOME of its own, its output thrown away. The seconds that it has worked, or -1 when it failed.
double run(const std::string& home, std::vector<std::string> arguments) {
  if (home.empty()) return -1;
  std::filesystem::create_directories(home);
  setenv("HOME", home.c_str(), 1);
  std::vector<char*> argv;
  for (std::string& each : arguments) argv.push_back(each.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  int status = -1;
  rusage usage{};
  const bool is_started = posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ) == 0;
  if (is_started) wait4(child, &status, 0, &usage);
  posix_spawn_file_actions_destroy(&actions);
  return is_started && status == 0 ? worked(usage) : -1;
}

// HOME is changed by run, so the folder is asked for once.
const std::string& place() {
  static const std::string path = folder();
  return path;
}

// A .reg file of so many values below a thousand keys; its name.
std::string reg_file(const std::string& name, int values, const std::string& data) {
  const std::string file = place() + "/" + name;
  std::filesystem::create_directories(place());
  std::ofstream out(file, std::ios::binary);
  out << "\xEF\xBB\xBFWindows Registry Editor Version 5.00\r\n";
  for (int key = 0; key < keys; ++key) {
    out << "\r\n[HKEY_CURRENT_USER\\Software\\Bench\\key" << key << "]\r\n";
    for (int value = 0; value < values / keys; ++value) out << "\"value" << value << "\"=" << data << "\r\n";
  }
  return file;
}

const std::string& small_file() {
  static const std::string file = reg_file("small.reg", small_values, "dword:0000002a");
  return file;
}

// A home whose registry has what the file says; empty when it could not be made.
std::string home_with(const std::string& name, const std::string& file) {
  const std::string home = place() + "/" + name;
  return run(home, {KVREG_PROGRAM, "import", file}) < 0 ? std::string() : home;
}

const std::string& small_home() {
  static const std::string home = home_with("small", small_file());
  return home;
}

// A registry with a thousand values.
const std::string& few_home() {
  static const std::string home = home_with("few", reg_file("few.reg", keys, "dword:0000002a"));
  return home;
}

void import_100000(benchmark::State& state) {
  const std::string home = place() + "/import";
  for (auto _ : state) {
    std::filesystem::remove_all(home);
    const double seconds = run(home, {KVREG_PROGRAM, "import", small_file()});
    if (seconds < 0) return state.SkipWithError("kvreg import failed");
    state.SetIterationTime(seconds);
  }
}

bool execute(sqlite3* database, const char* text) {
  return sqlite3_exec(database, text, nullptr, nullptr, nullptr) == SQLITE_OK;
}

// As many rows in one transaction, of a new file with the settings of a hive.
bool write_rows(const std::string& file) {
  sqlite3* database = nullptr;
  sqlite3_stmt* put = nullptr;
  const int number = 42;
  bool done = sqlite3_open(file.c_str(), &database) == SQLITE_OK &&
              execute(database,
                      "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; BEGIN;"
                      "CREATE TABLE t(k INTEGER, n TEXT, t INTEGER, v BLOB, PRIMARY KEY(k, n)) WITHOUT ROWID") &&
              sqlite3_prepare_v2(database, "INSERT INTO t VALUES(?1, ?2, 4, ?3)", -1, &put, nullptr) == SQLITE_OK;
  for (int i = 0; done && i < small_values; ++i) {
    const std::string name = "value" + std::to_string(i % (small_values / keys));
    sqlite3_bind_int(put, 1, i / (small_values / keys));
    sqlite3_bind_text(put, 2, name.c_str(), -1, SQLITE_STATIC);
    sqlite3_bind_blob(put, 3, &number, sizeof number, SQLITE_STATIC);
    done = sqlite3_step(put) == SQLITE_DONE && sqlite3_reset(put) == SQLITE_OK;
  }
  done = done && execute(database, "COMMIT");
  sqlite3_finalize(put);
  sqlite3_close(database);
  return done;
}

void bare_100000(benchmark::State& state) {
  const std::string file = place() + "/bare.db";
  std::filesystem::create_directories(place());
  for (auto _ : state) {
    for (const char* each : {"", "-wal", "-shm"}) std::filesystem::remove(file + each);
    const double start = worked_here();
    if (!write_rows(file)) return state.SkipWithError("the rows could not be written");
    state.SetIterationTime(worked_here() - start);
  }
}

// Bytes of text a second.
void export_of_1_kib(benchmark::State& state) {
  static const std::string home =
      home_with("large", reg_file("large.reg", large_values, '"' + std::string(large_units, 'x') + '"'));
  const std::string file = place() + "/large_out.reg";
  std::int64_t bytes = 0;
  for (auto _ : state) {
    const double seconds = run(home, {KVREG_PROGRAM, "export", "HKCU\\Software\\Bench", file, "/y"});
    if (seconds < 0) return state.SkipWithError("kvreg export failed");
    state.SetIterationTime(seconds);
    bytes += static_cast<std::int64_t>(std::filesystem::file_size(file));
  }
  state.SetItemsProcessed(bytes);
}

// Values a second.
void export_of_small(benchmark::State& state) {
  const std::string file = place() + "/small_out.reg";
  for (auto _ : state) {
    const double seconds = run(small_home(), {KVREG_PROGRAM, "export", "HKCU\\Software\\Bench", file, "/y"});
    if (seconds < 0) return state.SkipWithError("kvreg export failed");
    state.SetIterationTime(seconds);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * small_values);
}

double run_query() { return run(few_home(), {KVREG_PROGRAM, "query", "HKCU\\Software\\Bench\\key7", "/v", "value0"}); }

double run_empty() { return run(few_home(), {EMPTY_PROGRAM}); }

// Each runs behind the other, so that both find the machine in the same state.
void query_one(benchmark::State& state) {
  for (auto _ : state) {
    const double before = run_empty(), seconds = run_query();
    if (before < 0 || seconds < 0) return state.SkipWithError("kvreg query failed");
    state.SetIterationTime(seconds);
  }
}

void empty_program(benchmark::State& state) {
  for (auto _ : state) {
    const double before = run_query(), seconds = run_empty();
    if (before < 0 || seconds < 0) return state.SkipWithError("the empty program failed");
    state.SetIterationTime(seconds);
  }
}

BENCHMARK(import_100000)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(bare_100000)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(export_of_1_kib)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(export_of_small)->UseManualTime()->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(query_one)->UseManualTime()->Iterations(20)->Unit(benchmark::kMillisecond);
BENCHMARK(empty_program)->UseManualTime()->Iterations(20)->Unit(benchmark::kMillisecond);

}  // namespace
