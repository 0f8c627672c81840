// FormatMessage for the system's messages, which have no inserts. The message is English: language 0, the defaults
// of user and system, and English itself have it.
#include <winbase.h>
#include <winerror.h>

#include <algorithm>
#include <new>
#include <string>

#include "kernel32/message/system_messages.h"

namespace {

DWORD fail(DWORD code) {
  SetLastError(code);
  return 0;
}

bool is_available(DWORD language) {
  const WORD primary = PRIMARYLANGID(language);
  return primary == LANG_NEUTRAL || primary == LANG_ENGLISH;
}

// The error of a request that cannot be answered; ERROR_SUCCESS for one that can.
DWORD fault_of(DWORD flags, DWORD code, DWORD language, const void* buffer) {
  if (buffer == nullptr) return ERROR_INVALID_PARAMETER;
  if ((flags & FORMAT_MESSAGE_FROM_STRING) != 0) return ERROR_CALL_NOT_IMPLEMENTED;
  if ((flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0) {
    return (flags & FORMAT_MESSAGE_FROM_HMODULE) != 0 ? ERROR_RESOURCE_TYPE_NOT_FOUND : ERROR_INVALID_PARAMETER;
  }
  if (!is_available(language)) return ERROR_RESOURCE_LANG_NOT_FOUND;
  return kelvane::system_message(code).empty() ? ERROR_MR_MID_NOT_FOUND : ERROR_SUCCESS;
}

// Breaks lines before the word that would pass the width; a longer word stands alone.
std::string broken_at(std::string text, size_t width) {
  size_t line = 0;
  size_t blank = text.npos;
  for (size_t at = 0; at < text.size(); ++at) {
    if (text[at] == ' ') blank = at;
    if (at - line < width || blank == text.npos || blank < line) continue;
    text.replace(blank, 1, "\r\n");
    line = blank + 2;
    at = std::max(at, line);
    blank = text.npos;
  }
  return text;
}

// The line end of the message becomes a blank when the caller wants no line breaks at all.
std::string laid_out(std::string_view message, DWORD flags) {
  const DWORD width = flags & FORMAT_MESSAGE_MAX_WIDTH_MASK;
  if (width == 0) return std::string(message);
  const std::string text(message.substr(0, message.size() - 2));
  if (width == FORMAT_MESSAGE_MAX_WIDTH_MASK) return text + ' ';
  return broken_at(text, width) + "\r\n";
}

// Where the message goes: the caller's buffer, or a block made for it, at least of the size asked for.
template <class Char>
Char* room_for(size_t needed, DWORD flags, Char* buffer, DWORD size) {
  if ((flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) == 0) return size >= needed ? buffer : nullptr;
  void* block = LocalAlloc(LMEM_FIXED, std::max<size_t>(needed, size) * sizeof(Char));
  *reinterpret_cast<Char**>(buffer) = static_cast<Char*>(block);
  return static_cast<Char*>(block);
}

template <class Char>
DWORD format(DWORD flags, DWORD code, DWORD language, Char* buffer, DWORD size) {
  const DWORD fault = fault_of(flags, code, language, buffer);
  if (fault != ERROR_SUCCESS) return fail(fault);
  try {
    const std::string text = laid_out(kelvane::system_message(code), flags);
    Char* out = room_for(text.size() + 1, flags, buffer, size);
    const bool allocates = (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
    if (out == nullptr) return fail(allocates ? ERROR_NOT_ENOUGH_MEMORY : ERROR_INSUFFICIENT_BUFFER);
    std::copy_n(text.c_str(), text.size() + 1, out);
    return static_cast<DWORD>(text.size());
  } catch (const std::bad_alloc&) {
    return fail(ERROR_NOT_ENOUGH_MEMORY);
  }
}

}  // namespace

DWORD WINAPI FormatMessageA(DWORD flags, LPCVOID, DWORD message_id, DWORD language_id, LPSTR buffer, DWORD size,
                            va_list*) {
  return format(flags, message_id, language_id, buffer, size);
}

DWORD WINAPI FormatMessageW(DWORD flags, LPCVOID, DWORD message_id, DWORD language_id, LPWSTR buffer, DWORD size,
                            va_list*) {
  return format(flags, message_id, language_id, buffer, size);
}
