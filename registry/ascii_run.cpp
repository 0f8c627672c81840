// ASCII between bytes and WinChars, sixteen and thirty-two characters at a time. The last, shorter step overlaps the
// one before it, so that short names take two loads and no loop.

#include <emmintrin.h>

#include <bit>
#include <cstdint>

#include "registry/win_char.h"

inline namespace kelvane {
namespace {

// A WinChar is below U+0080 when none of these bits is set; the lanes are read low byte first.
constexpr short not_ascii = static_cast<short>(0x80ff);

__m128i load16(const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); }
__m128i load8(const void* from) { return _mm_loadl_epi64(static_cast<const __m128i*>(from)); }
void store16(void* to, __m128i value) { _mm_storeu_si128(static_cast<__m128i*>(to), value); }
void store8(void* to, __m128i value) { _mm_storel_epi64(static_cast<__m128i*>(to), value); }

unsigned other_bytes(__m128i bytes) { return static_cast<unsigned>(_mm_movemask_epi8(bytes)); }

bool all_ascii(__m128i units) {
  const __m128i others = _mm_and_si128(units, _mm_set1_epi16(not_ascii));
  return _mm_movemask_epi8(_mm_cmpeq_epi8(others, _mm_setzero_si128())) == 0xffff;
}

bool is_ascii(WinChar unit) { return unit.high == 0 && unit.low < 0x80; }

void store_wide(__m128i bytes, WinChar* out) {
  store16(out, _mm_unpacklo_epi8(_mm_setzero_si128(), bytes));
  store16(out + 8, _mm_unpackhi_epi8(_mm_setzero_si128(), bytes));
}

std::size_t widen_short_run(const char* text, std::size_t length, WinChar* out) {
  std::size_t done = 0;
  for (; done < length && static_cast<signed char>(text[done]) >= 0; ++done)
    out[done] = {0, static_cast<unsigned char>(text[done])};
  return done;
}

// Thirty-two bytes, when all are ASCII.
bool widen_block(const char* text, WinChar* out) {
  const __m128i first = load16(text);
  const __m128i second = load16(text + 16);
  if (other_bytes(_mm_or_si128(first, second)) != 0) return false;
  store_wide(first, out);
  store_wide(second, out + 16);
  return true;
}

// Blocks of thirty-two. The first and the last lie over bytes that another block does too: behind the first one
// the stores are aligned, and the last one ends with the text. Returns where the run is known to reach.
std::size_t widen_blocks(const char* text, std::size_t length, WinChar* out) {
  constexpr std::size_t block = 32;
  if (length < block || !widen_block(text, out)) return 0;
  const std::size_t aligned = (0 - reinterpret_cast<std::uintptr_t>(out)) % 16 / sizeof(WinChar);
  std::size_t done = aligned != 0 ? aligned : block;
  for (; done + block <= length; done += block)
    if (!widen_block(text + done, out + done)) return done;
  return widen_block(text + length - block, out + length - block) ? length : done;
}

// Eight bytes at `at`, which may have been done in part. Returns where the run ends, at most at + 8.
std::size_t widen_eight(const char* text, std::size_t at, WinChar* out) {
  const __m128i bytes = load8(text + at);
  const unsigned others = other_bytes(bytes) & 0xff;
  if (others != 0) {
    const auto good = static_cast<std::size_t>(std::countr_zero(others));
    return at + widen_short_run(text + at, good, out + at);
  }
  store16(out + at, _mm_unpacklo_epi8(_mm_setzero_si128(), bytes));
  return at + 8;
}

}  // namespace

std::size_t widen_ascii_run(const char* text, std::size_t length, WinChar* out) {
  if (length < 8) return widen_short_run(text, length, out);
  std::size_t done = widen_blocks(text, length, out);
  while (done < length) {
    const std::size_t at = done + 8 <= length ? done : length - 8;
    const std::size_t end = widen_eight(text, at, out);
    if (end < at + 8) return end;
    done = end;
  }
  return done;
}

// Reads behind the terminator, on purpose.
__attribute__((no_sanitize("address", "thread"))) bool widen_terminated_ascii(const char* text, std::size_t most,
                                                                              WinChar* out) {
  constexpr std::uintptr_t page_size = 4096;
  constexpr std::size_t block = 16;
  for (std::size_t done = 0; done + block <= most; done += block) {
    if (reinterpret_cast<std::uintptr_t>(text + done) % page_size > page_size - block) return false;
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i_u*>(text + done));
    store_wide(bytes, out + done);
    const unsigned others = other_bytes(bytes);
    const unsigned zeros = other_bytes(_mm_cmpeq_epi8(bytes, _mm_setzero_si128()));
    if (zeros != 0) return (others & (zeros - 1) & ~zeros) == 0;
    if (others != 0) return false;
  }
  return false;
}

std::size_t ascii_run(const char* text, std::size_t length) {
  std::size_t done = 0;
  for (; done + 16 <= length; done += 16) {
    const unsigned others = other_bytes(load16(text + done));
    if (others != 0) return done + static_cast<std::size_t>(std::countr_zero(others));
  }
  while (done < length && static_cast<signed char>(text[done]) >= 0) ++done;
  return done;
}

std::size_t ascii_run(const WinChar* text, std::size_t count) {
  std::size_t done = 0;
  while (done + 16 <= count && all_ascii(_mm_or_si128(load16(text + done), load16(text + done + 8)))) done += 16;
  while (done < count && is_ascii(text[done])) ++done;
  return done;
}

void narrow_ascii(const WinChar* text, std::size_t count, char* out) {
  std::size_t done = 0;
  for (; done + 8 <= count; done += 8) {
    const __m128i units = _mm_srli_epi16(load16(text + done), 8);
    store8(out + done, _mm_packus_epi16(units, units));
  }
  for (; done < count; ++done) out[done] = static_cast<char>(text[done].low);
}

}  // namespace kelvane
