/*
 * The codeset that the environment asks for: of LC_ALL, LC_CTYPE and LANG the first that is set and not
 * empty. The text behind the dot of the locale's name is the codeset; without one the installed locale tells.
 */
#ifndef KELVANE_KERNEL32_TEXT_LOCALE_CODESET_H
#define KELVANE_KERNEL32_TEXT_LOCALE_CODESET_H

#include <stddef.h>

inline namespace kelvane {

inline constexpr size_t codeset_room = 64;

/* Writes the codeset's name; "UTF-8" when none is given, the locale is not installed, or it is the C
 * locale, whose names say nothing about the text. */
void locale_codeset(char (&codeset)[codeset_room]);

}  // namespace kelvane

#endif
