// The lengths of texts in characters: bytes in the narrow form, wide characters in the other.
#include <string.h>
#include <wchar.h>
#include <winbase.h>

int WINAPI lstrlenA(LPCSTR text) { return text != nullptr ? static_cast<int>(strlen(text)) : 0; }

int WINAPI lstrlenW(LPCWSTR text) { return text != nullptr ? static_cast<int>(wcslen(text)) : 0; }
