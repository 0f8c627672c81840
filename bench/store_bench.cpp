// The registry over its store, beside what the same costs by hand in the same run: values by name against a
// hash map of whole paths, listing against its goal, writing against a bare SQLite transaction of one row. HOME
// decides where the hive is made; ctest gives it a folder of its own.

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unistd.h>
#include <windows.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr unsigned key_count = 1000;
constexpr unsigned values_of_a_key = 50;
constexpr unsigned hot_values = 1000;
constexpr unsigned listed = 1000;

HKEY make_key(HKEY parent, const std::string& path) {
  HKEY key = nullptr;
  if (RegCreateKeyExA(parent, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) != ERROR_SUCCESS) {
    std::abort();
  }
  return key;
}

void set_number(HKEY key, const std::string& name, DWORD number) {
  if (RegSetValueExA(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number) != 0) {
    std::abort();
  }
}

std::string key_name(unsigned i) { return "Product" + std::to_string(i); }
std::string value_name(unsigned i) { return "WindowHeight" + std::to_string(i); }

// Fifty thousand values below one key, each key of them open.
struct Settings {
  HKEY parent = make_key(HKEY_CURRENT_USER, "Software\\Vendor\\Bench");
  std::vector<HKEY> keys;
  Settings() {
    for (unsigned i = 0; i < key_count; ++i) {
      keys.push_back(make_key(parent, key_name(i)));
      DWORD count = 0;
      RegQueryInfoKeyA(keys.back(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &count, nullptr, nullptr,
                       nullptr, nullptr);
      for (unsigned j = count; j < values_of_a_key; ++j) set_number(keys.back(), value_name(j), i * j);
    }
  }
};

Settings& settings() {
  static Settings made;
  return made;
}

constexpr std::uint64_t lower_case_bits = 0x2020202020202020;

std::uint64_t eight_bytes(const char* text, std::size_t size) {
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, text, size < 8 ? size : 8);
  return bytes | lower_case_bits;
}

bool equal_byte(unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); }

// Eight bytes at a time: a fair opponent.
struct Ignore_Case {
  std::size_t operator()(const std::string& text) const {
    std::uint64_t hash = text.size();
    for (std::size_t i = 0; i < text.size(); i += 8) {
      hash = (hash ^ eight_bytes(text.data() + i, text.size() - i)) * 0x9E3779B97F4A7C15u;
      hash ^= hash >> 32;
    }
    return hash;
  }
  bool operator()(const std::string& a, const std::string& b) const {
    if (a.size() != b.size()) return false;
    if (std::memcmp(a.data(), b.data(), a.size()) == 0) return true;
    return std::equal(a.begin(), a.end(), b.begin(), &equal_byte);
  }
};

using Map = std::unordered_map<std::string, DWORD, Ignore_Case, Ignore_Case>;

Map& whole_paths() {
  static Map map = [] {
    Map filled;
    for (unsigned i = 0; i < key_count; ++i) {
      for (unsigned j = 0; j < values_of_a_key; ++j) {
        filled["Software\\Vendor\\Bench\\" + key_name(i) + "\\" + value_name(j)] = i * j;
      }
    }
    return filled;
  }();
  return map;
}

struct Hot_Value {
  unsigned key;
  std::string name;
  std::string path;
};

// In random order, the same on both sides.
const std::vector<Hot_Value>& hot(unsigned count) {
  static std::vector<Hot_Value> values;
  values.clear();
  std::mt19937 random(1);
  for (unsigned i = 0; i < count; ++i) {
    const unsigned key = random() % key_count;
    const unsigned value = random() % values_of_a_key;
    values.push_back({key, value_name(value), "Software\\Vendor\\Bench\\" + key_name(key) + "\\" + value_name(value)});
  }
  return values;
}

void value_by_name(benchmark::State& state) {
  Settings& held = settings();
  const std::vector<Hot_Value>& values = hot(static_cast<unsigned>(state.range(0)));
  std::size_t next = 0;
  for (auto _ : state) {
    const Hot_Value& wanted = values[next];
    next = next + 1 == values.size() ? 0 : next + 1;
    DWORD type = 0;
    DWORD data = 0;
    DWORD size = sizeof data;
    if (RegQueryValueExA(held.keys[wanted.key], wanted.name.c_str(), nullptr, &type, reinterpret_cast<BYTE*>(&data),
                         &size) != ERROR_SUCCESS) {
      return state.SkipWithError("a value is missing");
    }
    benchmark::DoNotOptimize(data);
  }
}

void value_in_hash_map(benchmark::State& state) {
  const Map& map = whole_paths();
  const std::vector<Hot_Value>& values = hot(static_cast<unsigned>(state.range(0)));
  std::size_t next = 0;
  for (auto _ : state) {
    const Hot_Value& wanted = values[next];
    next = next + 1 == values.size() ? 0 : next + 1;
    DWORD data = map.find(wanted.path)->second;
    benchmark::DoNotOptimize(data);
  }
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

// One row in one transaction, as plainly as SQLite allows.
void bare_transaction(benchmark::State& state) {
  const char* home = std::getenv("HOME");
  const std::string file = std::string(home == nullptr ? "/tmp" : home) + "/bare.db";
  sqlite3* database = nullptr;
  sqlite3_open(file.c_str(), &database);
  sqlite3_exec(database,
               "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL;"
               "CREATE TABLE IF NOT EXISTS t(k TEXT PRIMARY KEY, v BLOB) WITHOUT ROWID",
               nullptr, nullptr, nullptr);
  sqlite3_stmt* put = nullptr;
  sqlite3_prepare_v2(database, "INSERT INTO t VALUES('WindowHeight', ?1) ON CONFLICT(k) DO UPDATE SET v = excluded.v",
                     -1, &put, nullptr);
  int number = 0;
  for (auto _ : state) {
    ++number;
    sqlite3_bind_blob(put, 1, &number, sizeof number, SQLITE_STATIC);
    if (sqlite3_step(put) != SQLITE_DONE) state.SkipWithError("the row was not written");
    sqlite3_reset(put);
  }
  sqlite3_finalize(put);
  sqlite3_close(database);
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
