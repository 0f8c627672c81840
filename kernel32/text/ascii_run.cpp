// Blocks of sixteen characters in SSE2, which every x86-64 has; what is left of a text is taken once more as
// its last whole block.
#include "kernel32/text/ascii_run.h"

#include <emmintrin.h>
#include <stdint.h>

static_assert(sizeof(wchar_t) == 4, "one wide character is one 32-bit lane");

inline namespace kelvane {
namespace {

constexpr size_t block_size = 16;

__m128i load(const void* from) { return _mm_loadu_si128(static_cast<const __m128i*>(from)); }

void store(void* to, __m128i block) { _mm_storeu_si128(static_cast<__m128i*>(to), block); }

void widen_block(__m128i bytes, wchar_t* out) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i low = _mm_unpacklo_epi8(bytes, zero);
  const __m128i high = _mm_unpackhi_epi8(bytes, zero);
  store(out, _mm_unpacklo_epi16(low, zero));
  store(out + 4, _mm_unpackhi_epi16(low, zero));
  store(out + 8, _mm_unpacklo_epi16(high, zero));
  store(out + 12, _mm_unpackhi_epi16(high, zero));
}

// All ones in each lane that holds an ASCII character.
__m128i ascii_lanes(__m128i characters) {
  return _mm_cmpeq_epi32(_mm_and_si128(characters, _mm_set1_epi32(~0x7F)), _mm_setzero_si128());
}

__m128i pack(__m128i a, __m128i b, __m128i c, __m128i d) {
  return _mm_packs_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
}

// Narrows a block when it is ASCII throughout.
bool narrow_whole_block(const wchar_t* text, char* out) {
  const __m128i a = load(text);
  const __m128i b = load(text + 4);
  const __m128i c = load(text + 8);
  const __m128i d = load(text + 12);
  const __m128i all = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
  if (_mm_movemask_epi8(ascii_lanes(all)) != 0xFFFF) return false;
  store(out, _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d)));
  return true;
}

// Narrows a block; the number of characters before the first that is not ASCII.
unsigned narrow_block_run(const wchar_t* text, char* out) {
  const __m128i a = load(text);
  const __m128i b = load(text + 4);
  const __m128i c = load(text + 8);
  const __m128i d = load(text + 12);
  // Characters beyond ASCII leave a wrong byte behind the run.
  store(out, _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d)));
  const __m128i ascii = pack(ascii_lanes(a), ascii_lanes(b), ascii_lanes(c), ascii_lanes(d));
  const unsigned stop = ~static_cast<unsigned>(_mm_movemask_epi8(ascii)) & 0xFFFFu;
  return stop == 0 ? block_size : static_cast<unsigned>(__builtin_ctz(stop));
}

// One bit for each byte of the block that is not ASCII.
unsigned beyond_ascii(__m128i bytes) { return static_cast<unsigned>(_mm_movemask_epi8(bytes)); }

// Widens a block; the number of characters before the first that is not ASCII.
unsigned widen_block_run(const char* text, wchar_t* out) {
  const __m128i bytes = load(text);
  widen_block(bytes, out);
  const unsigned stop = beyond_ascii(bytes);
  return stop == 0 ? block_size : static_cast<unsigned>(__builtin_ctz(stop));
}

// How far behind a block boundary the output stands, in characters; stores are cheapest at a boundary.
size_t characters_past_boundary(const wchar_t* out) {
  return reinterpret_cast<uintptr_t>(out) % block_size / sizeof(wchar_t);
}

// Widens pairs of blocks from done on, while they are ASCII throughout; gives where it stopped.
size_t widen_pairs(const char* text, size_t done, size_t size, wchar_t* out) {
  for (; size - done >= 2 * block_size; done += 2 * block_size) {
    const __m128i first = load(text + done);
    const __m128i second = load(text + done + block_size);
    if (beyond_ascii(_mm_or_si128(first, second)) != 0) break;
    widen_block(first, out + done);
    widen_block(second, out + done + block_size);
  }
  return done;
}

bool is_ascii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

size_t widen_short_run(const char* text, size_t size, wchar_t* out) {
  size_t done = 0;
  for (; done != size && is_ascii(text[done]); ++done) out[done] = text[done];
  return done;
}

bool is_ascii(wchar_t character) { return static_cast<unsigned>(character) < 0x80; }

size_t narrow_short_run(const wchar_t* text, size_t length, char* out) {
  size_t done = 0;
  for (; done != length && is_ascii(text[done]); ++done) out[done] = static_cast<char>(text[done]);
  return done;
}

}  // namespace

size_t widen_ascii_run(const char* text, size_t size, wchar_t* out) {
  if (size < block_size) return widen_short_run(text, size, out);
  unsigned run = widen_block_run(text, out);
  if (run != block_size) return run;
  size_t done = widen_pairs(text, block_size - characters_past_boundary(out), size, out);
  for (; size - done >= block_size; done += block_size) {
    run = widen_block_run(text + done, out + done);
    if (run != block_size) return done + run;
  }
  const size_t last = size - block_size;
  return last + widen_block_run(text + last, out + last);
}

size_t narrow_ascii_run(const wchar_t* text, size_t length, char* out) {
  if (length < block_size) return narrow_short_run(text, length, out);
  const unsigned run = narrow_block_run(text, out);
  if (run != block_size) return run;
  size_t done = block_size;
  while (length - done >= block_size && narrow_whole_block(text + done, out + done)) done += block_size;
  const size_t rest = length - done >= block_size ? done : length - block_size;
  return rest + narrow_block_run(text + rest, out + rest);
}

size_t ascii_run_size(const char* text, size_t size) {
  size_t done = 0;
  for (; size - done >= block_size; done += block_size) {
    const unsigned stop = beyond_ascii(load(text + done));
    if (stop != 0) return done + static_cast<unsigned>(__builtin_ctz(stop));
  }
  while (done != size && is_ascii(text[done])) ++done;
  return done;
}

}  // namespace kelvane
