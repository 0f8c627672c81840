// What each byte is to the scanner.
#pragma once

#include <initializer_list>

inline namespace kelvane {

enum class Character_Kind : unsigned char { other, atom, bracket, quote, comment, blank, newline };

struct Character_Kinds {
  Character_Kind kinds[256] = {};

  // Atom characters are the printable ones of ASCII but eleven.
  constexpr Character_Kinds() {
    for (int character = 0x21; character <= 0x7E; ++character) kinds[character] = Character_Kind::atom;
    for (const char character : {'&', '\'', '^', '`', '|'}) set(character, Character_Kind::other);
    for (const char character : {'(', ')', '[', ']'}) set(character, Character_Kind::bracket);
    set('"', Character_Kind::quote);
    set(';', Character_Kind::comment);
    set(' ', Character_Kind::blank);
    set('\t', Character_Kind::blank);
    set('\n', Character_Kind::newline);
  }

  constexpr void set(char character, Character_Kind kind) { kinds[static_cast<unsigned char>(character)] = kind; }
  constexpr Character_Kind operator[](unsigned char character) const { return kinds[character]; }
};

inline constexpr Character_Kinds character_kinds;

// The token numbers of the brackets.
constexpr int token_of_bracket(char bracket) {
  return bracket == '(' ? 258 : bracket == ')' ? 259 : bracket == '[' ? 260 : 261;
}

}  // namespace kelvane
