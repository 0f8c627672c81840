// Text to the stored form at the longest length that stays off the heap, beside a plain SSE2 widening loop.

#include <benchmark/benchmark.h>
#include <emmintrin.h>

#include <string>

#include "registry/win_char.h"

namespace {

constexpr int length = 2047;

void widen_plainly(const char* text, int size, unsigned char* out) {
  const __m128i zero = _mm_setzero_si128();
  int i = 0;
  for (; i + 16 <= size; i += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i), _mm_unpacklo_epi8(zero, bytes));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 2 * i + 16), _mm_unpackhi_epi8(zero, bytes));
  }
  for (; i < size; ++i) {
    out[2 * i] = 0;
    out[2 * i + 1] = static_cast<unsigned char>(text[i]);
  }
}

void ascii_plain_loop(benchmark::State& state) {
  const std::string text(length, 'x');
  unsigned char out[2 * length];
  for (auto _ : state) {
    widen_plainly(text.data(), length, out);
    benchmark::DoNotOptimize(out);
    benchmark::ClobberMemory();
  }
}

void ascii_to_saveable(benchmark::State& state) {
  const std::string text(length, 'x');
  for (auto _ : state) {
    kelvane::Buffer<WinChar> out;
    kelvane::char_to_saveable(text.data(), out, length, nullptr);
    benchmark::DoNotOptimize(out.data);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(ascii_plain_loop);
BENCHMARK(ascii_to_saveable);

}  // namespace
