// Text conversion against its floors: the C library's mbstowcs for UTF-8 text, a plain SSE2 widening loop for
// ASCII text. Each pair runs on the same text; the ratio of the two is what counts.
#include <benchmark/benchmark.h>
#include <emmintrin.h>
#include <kelvane/text.h>
#include <locale.h>
#include <stdlib.h>

#include <string>

namespace {

constexpr size_t characters = 2047;

std::string repeated(const std::string& unit, size_t unit_characters) {
  std::string text;
  for (size_t done = 0; done + unit_characters <= characters; done += unit_characters) text += unit;
  return text;
}

std::string ascii_text() { return std::string(characters, 'k'); }

std::string cyrillic_text() { return repeated("Настройки программы ", 20); }

std::string german_text() { return repeated("Übergrößenträger im Flur ", 25); }

std::string japanese_text() { return repeated("設定を保存する", 7); }

std::string mixed_text() { return repeated("Software\\Größe\\設定\\😀\\", 20); }

// Converts size bytes, sixteen at a time, as one would write it for text known to be ASCII.
void widen(const char* text, size_t size, wchar_t* out) {
  const __m128i zero = _mm_setzero_si128();
  size_t i = 0;
  for (; i + 16 <= size; i += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
    const __m128i low = _mm_unpacklo_epi8(bytes, zero);
    const __m128i high = _mm_unpackhi_epi8(bytes, zero);
    auto* to = reinterpret_cast<__m128i*>(out + i);
    _mm_storeu_si128(to, _mm_unpacklo_epi16(low, zero));
    _mm_storeu_si128(to + 1, _mm_unpackhi_epi16(low, zero));
    _mm_storeu_si128(to + 2, _mm_unpacklo_epi16(high, zero));
    _mm_storeu_si128(to + 3, _mm_unpackhi_epi16(high, zero));
  }
  for (; i < size; ++i) out[i] = text[i];
}

void widening_loop(benchmark::State& state) {
  const std::string text = ascii_text();
  for (auto _ : state) {
    wchar_t out[characters + 1];
    const char* source = text.data();
    benchmark::DoNotOptimize(source);
    widen(source, text.size(), out);
    benchmark::DoNotOptimize(out);
    benchmark::ClobberMemory();
  }
}

void decode(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    const KvUnicodeStringWithLength wide(text.data(), static_cast<int>(text.size()));
    benchmark::DoNotOptimize(wide.text());
    benchmark::ClobberMemory();
  }
}

void decode_with_mbstowcs(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    wchar_t out[characters + 1];
    benchmark::DoNotOptimize(mbstowcs(out, text.c_str(), characters + 1));
    benchmark::ClobberMemory();
  }
}

void encode(benchmark::State& state, const std::string& text) {
  const KvUnicodeStringWithLength wide(text.data(), static_cast<int>(text.size()));
  for (auto _ : state) {
    const KvAnsiStringWithLength narrow(wide.text(), wide.length());
    benchmark::DoNotOptimize(narrow.text());
    benchmark::ClobberMemory();
  }
}

void encode_with_wcstombs(benchmark::State& state, const std::string& text) {
  const KvUnicodeStringWithLength wide(text.data(), static_cast<int>(text.size()));
  for (auto _ : state) {
    char out[4 * characters + 1];
    benchmark::DoNotOptimize(wcstombs(out, wide.text(), sizeof out));
    benchmark::ClobberMemory();
  }
}

void register_pair(const std::string& name, const std::string& text) {
  benchmark::RegisterBenchmark(("text/decode/" + name).c_str(), decode, text);
  benchmark::RegisterBenchmark(("text/mbstowcs/" + name).c_str(), decode_with_mbstowcs, text);
  benchmark::RegisterBenchmark(("text/encode/" + name).c_str(), encode, text);
  benchmark::RegisterBenchmark(("text/wcstombs/" + name).c_str(), encode_with_wcstombs, text);
}

}  // namespace

int main(int argc, char** argv) {
  setenv("LC_ALL", "C.UTF-8", 1);
  if (setlocale(LC_ALL, "") == nullptr) return 1;
  benchmark::RegisterBenchmark("text/widening_loop/ascii", widening_loop);
  register_pair("ascii", ascii_text());
  register_pair("cyrillic", cyrillic_text());
  register_pair("german", german_text());
  register_pair("japanese", japanese_text());
  register_pair("mixed", mixed_text());
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
