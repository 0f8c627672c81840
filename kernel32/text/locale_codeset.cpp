// The rules for the locale's name. Nothing of the process's own locale is read or changed.
#include "kernel32/text/locale_codeset.h"

#include <langinfo.h>
#include <locale.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

inline namespace kelvane {
namespace {

using Codeset = char[codeset_room];

constexpr char default_codeset[] = "UTF-8";

const char* locale_name() {
  for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    const char* value = std::getenv(variable);
    if (value != nullptr && *value != '\0') return value;
  }
  return "C";
}

bool is_c_locale(const char* name) { return std::strcmp(name, "C") == 0 || std::strcmp(name, "POSIX") == 0; }

// Such a name is handed to iconv, which gives "/" and "," a meaning of their own.
bool is_codeset_name(const char* name, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    const auto byte = static_cast<unsigned char>(name[i]);
    if (std::isalnum(byte) == 0 && std::strchr("-_.:+()", byte) == nullptr) return false;
  }
  return size != 0 && size < codeset_room;
}

void copy(Codeset& codeset, const char* name, size_t size) {
  if (!is_codeset_name(name, size)) return;
  std::memcpy(codeset, name, size);
  codeset[size] = '\0';
}

void copy_from_installed_locale(Codeset& codeset, const char* name) {
  const locale_t locale = newlocale(LC_CTYPE_MASK, name, nullptr);
  if (locale == nullptr) return;
  const char* installed = nl_langinfo_l(CODESET, locale);
  copy(codeset, installed, std::strlen(installed));
  freelocale(locale);
}

}  // namespace

void locale_codeset(char (&codeset)[codeset_room]) {
  std::memcpy(codeset, default_codeset, sizeof default_codeset);
  const char* name = locale_name();
  if (is_c_locale(name)) return;
  const char* dot = std::strchr(name, '.');
  if (dot == nullptr) {
    copy_from_installed_locale(codeset, name);
  } else {
    copy(codeset, dot + 1, std::strcspn(dot + 1, "@"));
  }
}

}  // namespace kelvane
