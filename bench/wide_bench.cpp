// The wide query and set beside their ANSI forms, over slots that answer at once: a DWORD and a short text under
// a short name. The ANSI form is the floor.

#include <benchmark/benchmark.h>
#include <kelvane/advapi32.h>
#include <kelvane/registry_table.h>

#include <cstring>

namespace {

constexpr int query_slot = 7;
constexpr int set_slot = 8;
constexpr DWORD text_count = 12;

constexpr char name[] = "WindowHeight";
constexpr wchar_t wide_name[] = L"WindowHeight";
constexpr char text[] = "Courier New";
constexpr wchar_t wide_text[] = L"Courier New";
static_assert(sizeof text == text_count && sizeof wide_text == text_count * sizeof(wchar_t));

DWORD answer_dword(HKEY, const WinChar*, DWORD*, DWORD* type, BYTE* data, DWORD* size, void*) {
  *type = REG_DWORD;
  *size = 4;
  const DWORD value = 768;
  std::memcpy(data, &value, sizeof value);
  return ERROR_SUCCESS;
}

DWORD answer_text(HKEY, const WinChar*, DWORD*, DWORD* type, BYTE* data, DWORD* size, void*) {
  static const struct Stored {
    BYTE bytes[2 * text_count] = {};
    Stored() {
      for (DWORD i = 0; i < text_count; ++i) bytes[2 * i + 1] = static_cast<BYTE>(text[i]);
    }
  } stored;
  *type = REG_SZ;
  *size = sizeof stored.bytes;
  std::memcpy(data, stored.bytes, sizeof stored.bytes);
  return ERROR_SUCCESS;
}

DWORD take_anything(HKEY, const WinChar*, DWORD, DWORD, const BYTE* data, DWORD, void*) {
  benchmark::DoNotOptimize(data);
  return ERROR_SUCCESS;
}

template <class Front, class Name>
void query(benchmark::State& state, void* slot, Front front, const Name* value_name, DWORD room) {
  KvIRegFunctions[query_slot].entry = slot;
  BYTE data[256];
  for (auto _ : state) {
    DWORD type;
    DWORD size = room;
    benchmark::DoNotOptimize(front(HKEY_CURRENT_USER, value_name, nullptr, &type, data, &size));
    benchmark::ClobberMemory();
  }
}

template <class Front, class Name, class Data>
void set(benchmark::State& state, Front front, const Name* value_name, DWORD type, const Data& data) {
  KvIRegFunctions[set_slot].entry = reinterpret_cast<void*>(take_anything);
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        front(HKEY_CURRENT_USER, value_name, 0, type, reinterpret_cast<const BYTE*>(&data), sizeof data));
    benchmark::ClobberMemory();
  }
}

void* const dword_slot = reinterpret_cast<void*>(answer_dword);
void* const text_slot = reinterpret_cast<void*>(answer_text);
constexpr DWORD number = 768;

void query_dword_ansi(benchmark::State& state) { query(state, dword_slot, RegQueryValueExA, name, 4); }
void query_dword_wide(benchmark::State& state) { query(state, dword_slot, RegQueryValueExW, wide_name, 4); }
void query_text_ansi(benchmark::State& state) { query(state, text_slot, RegQueryValueExA, name, sizeof text); }
void query_text_wide(benchmark::State& state) {
  query(state, text_slot, RegQueryValueExW, wide_name, sizeof wide_text);
}
void set_dword_ansi(benchmark::State& state) { set(state, RegSetValueExA, name, REG_DWORD, number); }
void set_dword_wide(benchmark::State& state) { set(state, RegSetValueExW, wide_name, REG_DWORD, number); }
void set_text_ansi(benchmark::State& state) { set(state, RegSetValueExA, name, REG_SZ, text); }
void set_text_wide(benchmark::State& state) { set(state, RegSetValueExW, wide_name, REG_SZ, wide_text); }

BENCHMARK(query_dword_ansi);
BENCHMARK(query_dword_wide);
BENCHMARK(query_text_ansi);
BENCHMARK(query_text_wide);
BENCHMARK(set_dword_ansi);
BENCHMARK(set_dword_wide);
BENCHMARK(set_text_ansi);
BENCHMARK(set_text_wide);

}  // namespace
