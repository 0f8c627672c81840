// ExpandEnvironmentStrings: "%NAME%" becomes the value of a variable that is set. A percent sign that begins no
// such name stands for itself, so that unknown names and lone percent signs stay; values are not expanded again.
// A name is looked for as it is written and then without regard to the case of its ASCII letters.
#include <stdlib.h>
#include <strings.h>
#include <unistd.h>
#include <winbase.h>
#include <winerror.h>

#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <string_view>

#include "kernel32/text/code_page.h"

namespace {

// The entry "NAME=value" of the environment for this name.
std::optional<std::string> value_of(std::string_view name) {
  if (name.empty() || name.find('=') != name.npos || name.find('\0') != name.npos) return std::nullopt;
  const std::string exact(name);
  if (const char* value = getenv(exact.c_str()); value != nullptr) return value;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    if (strncasecmp(*entry, exact.c_str(), exact.size()) == 0 && (*entry)[exact.size()] == '=') {
      return *entry + exact.size() + 1;
    }
  }
  return std::nullopt;
}

std::string encoded(std::wstring_view text) {
  const Code_Page& page = environment_code_page();
  std::string result(page.encoded_size(text.data(), text.size()), '\0');
  page.encode(text.data(), text.size(), result.data(), result.size());
  return result;
}

std::wstring decoded(std::string_view text) {
  const Code_Page& page = environment_code_page();
  std::wstring result(page.decoded_length(text.data(), text.size()).length, L'\0');
  page.decode(text.data(), text.size(), result.data(), result.size());
  return result;
}

std::optional<std::wstring> value_of(std::wstring_view name) {
  const std::optional<std::string> value = value_of(encoded(name));
  return value ? std::optional(decoded(*value)) : std::nullopt;
}

template <class Char>
std::basic_string<Char> expand(std::basic_string_view<Char> source) {
  constexpr Char percent = '%';
  std::basic_string<Char> result;
  for (size_t at = 0; at < source.size();) {
    const size_t end = source[at] == percent ? source.find(percent, at + 1) : source.npos;
    const auto value = end != source.npos ? value_of(source.substr(at + 1, end - at - 1)) : std::nullopt;
    if (value) {
      result += *value;
      at = end + 1;
    } else {
      result += source[at++];
    }
  }
  return result;
}

DWORD fail(DWORD code) {
  SetLastError(code);
  return 0;
}

// The count that is needed, terminator included; the result is written when it fits.
template <class Char>
DWORD expand_into(const Char* source, Char* destination, DWORD room) {
  if (source == nullptr) return fail(ERROR_INVALID_PARAMETER);
  try {
    const std::basic_string<Char> result = expand(std::basic_string_view<Char>(source));
    const size_t needed = result.size() + 1;
    if (needed > UINT32_MAX) return fail(ERROR_NOT_ENOUGH_MEMORY);
    if (destination != nullptr && room >= needed) memcpy(destination, result.c_str(), needed * sizeof(Char));
    return static_cast<DWORD>(needed);
  } catch (const std::bad_alloc&) {
    return fail(ERROR_NOT_ENOUGH_MEMORY);
  }
}

}  // namespace

DWORD WINAPI ExpandEnvironmentStringsA(LPCSTR source, LPSTR destination, DWORD room) {
  return expand_into(source, destination, room);
}

DWORD WINAPI ExpandEnvironmentStringsW(LPCWSTR source, LPWSTR destination, DWORD room) {
  return expand_into(source, destination, room);
}
