// RegQueryValueExA over a slot that answers at once, beside a front written by hand for this one call: two gate
// reads, the name widened with SSE2, an indirect call, the answer brought back. The same for a DWORD and for a
// text of 40 bytes.

#include <benchmark/benchmark.h>
#include <emmintrin.h>
#include <kelvane/advapi32.h>

#include <cstring>

namespace {

constexpr char name[] = "WindowHeight";
constexpr int query_slot = 7;
constexpr DWORD text_count = 40;

using Query = DWORD (*)(HKEY, const WinChar*, DWORD*, DWORD*, BYTE*, DWORD*, void*);

DWORD answer_dword(HKEY, const WinChar*, DWORD*, DWORD* type, BYTE* data, DWORD* size, void*) {
  *type = REG_DWORD;
  *size = 4;
  const DWORD value = 768;
  std::memcpy(data, &value, sizeof value);
  return ERROR_SUCCESS;
}

DWORD answer_text(HKEY, const WinChar*, DWORD*, DWORD* type, BYTE* data, DWORD* size, void*) {
  static const struct Stored {
    BYTE bytes[2 * text_count];
    Stored() : bytes{} {
      for (DWORD i = 0; i + 1 < text_count; ++i) bytes[2 * i + 1] = static_cast<BYTE>('a' + i % 26);
    }
  } stored;
  *type = REG_SZ;
  *size = sizeof stored.bytes;
  std::memcpy(data, stored.bytes, sizeof stored.bytes);
  return ERROR_SUCCESS;
}

// What a front written for this call alone costs.
void widen(const char* text, std::size_t size, BYTE* out) {
  std::size_t i = 0;
  for (; i + 16 <= size; i += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i), _mm_unpacklo_epi8(_mm_setzero_si128(), bytes));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i + 16), _mm_unpackhi_epi8(_mm_setzero_si128(), bytes));
  }
  for (; i < size; ++i) {
    out[2 * i] = 0;
    out[2 * i + 1] = static_cast<BYTE>(text[i]);
  }
}

bool narrow(const BYTE* units, std::size_t count, BYTE* out) {
  BYTE others = 0;
  for (std::size_t i = 0; i < count; ++i) {
    others |= static_cast<BYTE>(units[2 * i] | (units[2 * i + 1] & 0x80));
    out[i] = units[2 * i + 1];
  }
  return others == 0;
}

__attribute__((noinline)) LSTATUS query_by_hand(HKEY key, const char* value_name, DWORD* reserved, DWORD* type,
                                                BYTE* data, DWORD* size) {
  if (*static_cast<volatile int*>(&KvRegistryClosed) != 0) return -1;
  BYTE wide_name[512];
  widen(value_name, std::strlen(value_name) + 1, wide_name);
  BYTE stored[1024];
  DWORD stored_size = *size * 2;
  DWORD stored_type;
  const auto query = reinterpret_cast<Query>(KvIRegFunctions[query_slot].entry);
  const DWORD result =
      query(key, reinterpret_cast<const WinChar*>(wide_name), reserved, &stored_type, stored, &stored_size, nullptr);
  if (result == ERROR_SUCCESS) {
    const bool text = stored_type == REG_SZ;
    const DWORD count = text ? stored_size / 2 : stored_size;
    if (*size < count) return ERROR_MORE_DATA;
    if (!text) std::memcpy(data, stored, count);
    if (text && !narrow(stored, count, data)) return ERROR_INVALID_DATA;
    *size = count;
    *type = stored_type;
  }
  if (*static_cast<volatile int*>(&KvRegistryClosed) != 0) return -1;
  return static_cast<LSTATUS>(result);
}

template <class Front>
void run(benchmark::State& state, Query slot, Front front, DWORD room) {
  KvIRegFunctions[query_slot].entry = reinterpret_cast<void*>(slot);
  BYTE data[256];
  for (auto _ : state) {
    DWORD type;
    DWORD size = room;
    benchmark::DoNotOptimize(front(HKEY_CURRENT_USER, name, nullptr, &type, data, &size));
    benchmark::ClobberMemory();
  }
}

void query_dword_by_hand(benchmark::State& state) { run(state, answer_dword, query_by_hand, 4); }
void query_dword(benchmark::State& state) { run(state, answer_dword, RegQueryValueExA, 4); }
void query_text_by_hand(benchmark::State& state) { run(state, answer_text, query_by_hand, text_count); }
void query_text(benchmark::State& state) { run(state, answer_text, RegQueryValueExA, text_count); }

BENCHMARK(query_dword_by_hand);
BENCHMARK(query_dword);
BENCHMARK(query_text_by_hand);
BENCHMARK(query_text);

}  // namespace
