// MultiByteToWideChar over the code pages of the text temporaries. The result is measured before anything is
// written, so that a failed call leaves the destination alone.
#include <winbase.h>
#include <winerror.h>

#include <climits>
#include <cstring>
#include <new>

#include "kernel32/text/code_page.h"

namespace {

struct Request {
  const Code_Page* page;
  const char* source;
  size_t size;
  bool refuse_undecodable;
  wchar_t* destination;
  size_t room;
};

int fail(DWORD error) {
  SetLastError(error);
  return 0;
}

const Code_Page* page_of(UINT number) {
  if (number == CP_ACP) return &environment_code_page();
  return number == CP_UTF8 ? &utf8_code_page() : nullptr;
}

int convert(const Request& request) {
  const Decoded_Length needed = request.page->decoded_length(request.source, request.size);
  if (request.refuse_undecodable && !needed.clean) return fail(ERROR_NO_UNICODE_TRANSLATION);
  if (needed.length > INT_MAX) return fail(ERROR_INSUFFICIENT_BUFFER);
  if (request.room != 0) {
    if (needed.length > request.room) return fail(ERROR_INSUFFICIENT_BUFFER);
    request.page->decode(request.source, request.size, request.destination, request.room);
  }
  return static_cast<int>(needed.length);
}

}  // namespace

int MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR source, int source_size, LPWSTR destination, int room) {
  const Code_Page* page = page_of(code_page);
  const bool size_is_wrong = source_size == 0 || source_size < -1 || room < 0;
  const bool pointer_is_missing = source == nullptr || (destination == nullptr && room != 0);
  if (page == nullptr || size_is_wrong || pointer_is_missing) return fail(ERROR_INVALID_PARAMETER);
  const size_t size = source_size == -1 ? strlen(source) + 1 : static_cast<size_t>(source_size);
  const bool refuse = (flags & MB_ERR_INVALID_CHARS) != 0;
  try {
    return convert({page, source, size, refuse, destination, static_cast<size_t>(room)});
  } catch (const std::bad_alloc&) {
    return fail(ERROR_NOT_ENOUGH_MEMORY);
  }
}
