// Records of a registry log. One that is dropped, beside the one query of the registry that it costs: over a slot that
// answers at once, and over the real store. One that is written to a file, over a slot that answers at once, beside
// spdlog with a flush after each record in the same folder.

#include <benchmark/benchmark.h>
#include <kelvane/advapi32.h>
#include <kelvane/log.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <stdlib.h>
#include <windows.h>

#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace {

constexpr int query_slot = 7;
constexpr int above_every_level = 1000000;
constexpr wchar_t settings[] = L"Software\\Tressaly\\rpcss\\log";

// The logs' folder, removed at the end.
class Folder {
 public:
  Folder() : path_((std::filesystem::temp_directory_path() / "kvbench.XXXXXX").string()) {
    if (mkdtemp(path_.data()) == nullptr) throw std::runtime_error("mkdtemp");
    setenv("KVRPCSS_DEBUG_LOG", file("ours.log").c_str(), 1);
  }
  ~Folder() { std::filesystem::remove_all(path_); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string file(const char* name) const { return path_ + "/logs/" + name; }

 private:
  std::string path_;
};
const Folder folder;

// "LogLevel" is 1, the sizes are the largest that there are.
DWORD answer_setting(HKEY, const WinChar* name, DWORD*, DWORD* type, BYTE* data, DWORD* size, void*) {
  constexpr DWORD largest_size = 0x3FFFFF;
  const DWORD value = name->low == 'L' ? 1 : largest_size;
  *type = REG_DWORD;
  *size = sizeof value;
  std::memcpy(data, &value, sizeof value);
  return ERROR_SUCCESS;
}

// The slot of queries, exchanged while this is there.
class Instant_Queries {
 public:
  Instant_Queries() : former_(KvIRegFunctions[query_slot].entry) {
    KvIRegFunctions[query_slot].entry = reinterpret_cast<void*>(answer_setting);
  }
  ~Instant_Queries() { KvIRegFunctions[query_slot].entry = former_; }
  Instant_Queries(const Instant_Queries&) = delete;
  Instant_Queries& operator=(const Instant_Queries&) = delete;

 private:
  void* former_;
};

void drop_records(benchmark::State& state) {
  KvLog& log = RpcssLog();
  for (auto _ : state) log.Output(above_every_level, "value %s of %d", "name", 42);
}

void ask_for_the_level(benchmark::State& state) {
  HKEY key = nullptr;
  RegCreateKeyExW(HKEY_LOCAL_MACHINE, settings, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  for (auto _ : state) {
    DWORD value = 0, size = sizeof value, type = REG_NONE;
    benchmark::DoNotOptimize(
        RegQueryValueExW(key, L"LogLevel", nullptr, &type, reinterpret_cast<LPBYTE>(&value), &size));
  }
  RegCloseKey(key);
}

void query_instant(benchmark::State& state) {
  const Instant_Queries instant;
  ask_for_the_level(state);
}
void drop_instant(benchmark::State& state) {
  const Instant_Queries instant;
  drop_records(state);
}
void query_store(benchmark::State& state) { ask_for_the_level(state); }
void drop_store(benchmark::State& state) { drop_records(state); }

void write_spdlog(benchmark::State& state) {
  const auto log = spdlog::basic_logger_mt("floor", folder.file("spdlog.log"), true);
  log->flush_on(spdlog::level::info);
  for (auto _ : state) log->info("value {} of {}", "name", 42);
  spdlog::drop("floor");
}

void write_record(benchmark::State& state) {
  const Instant_Queries instant;
  KvLog& log = RpcssLog();
  for (auto _ : state) log.Output(1, "value %s of %d", "name", 42);
}

BENCHMARK(query_instant);
BENCHMARK(drop_instant);
BENCHMARK(query_store);
BENCHMARK(drop_store);
BENCHMARK(write_spdlog);
BENCHMARK(write_record);

}  // namespace
