/*
 * Runs of ASCII characters, sixteen at a time.
 *
 * Each function looks at the start of a text, stops at the first character that is not ASCII and tells how
 * many there are before it. Nothing outside the given lengths is read; a copying function may leave anything
 * in the room behind what it reports, up to the given length.
 */
#ifndef KELVANE_KERNEL32_TEXT_ASCII_RUN_H
#define KELVANE_KERNEL32_TEXT_ASCII_RUN_H

#include <stddef.h>

inline namespace kelvane {

/* out has room for size characters. */
size_t widen_ascii_run(const char* text, size_t size, wchar_t* out);

/* out has room for length bytes. */
size_t narrow_ascii_run(const wchar_t* text, size_t length, char* out);

/* Copies nothing. */
size_t ascii_run_size(const char* text, size_t size);

}  // namespace kelvane

#endif
