// Entries for whole hives: saving, loading, backup, and the image of HKEY_CURRENT_USER.
#include <kelvane/registry_entries.h>
#include <kelvane/text.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "impl/entries/answer.h"
#include "impl/entries/win_text.h"
#include "impl/registry_service.h"

namespace {

using impl::answer;
using impl::registry_service;
using impl::Win_Text;

// The name in the code page.
std::vector<char> file_name(std::u16string_view name) {
  const std::vector<wchar_t> wide(name.begin(), name.end());
  const KvAnsiStringWithLength converted(wide.data(), static_cast<int>(wide.size()));
  std::vector<char> file(converted.text(), converted.text() + converted.size());
  file.push_back('\0');
  return file;
}

}  // namespace

extern "C" {

DWORD KvIRegSaveKey(HKEY key, const WinChar* file, SECURITY_ATTRIBUTES*, void*) {
  if (file == nullptr) return ERROR_INVALID_PARAMETER;
  return answer([&]() -> DWORD {
    const Win_Text name(file);
    if (name.view().empty() || name.view().size() >= PATH_MAX) return ERROR_INVALID_PARAMETER;
    return registry_service().save_key(key, file_name(name.view()).data());
  });
}

INT_PTR KvIRegBackup(const char* path, void*) {
  if (path == nullptr || *path == '\0') return ERROR_INVALID_PARAMETER;
  return answer([&] { return registry_service().backup(path); });
}

// A null image asks for the size.
DWORD KvIRegGetHKCU(BYTE* image, DWORD* size, void*) {
  if (size == nullptr) return ERROR_INVALID_PARAMETER;
  return answer([&]() -> DWORD {
    std::vector<BYTE> bytes;
    if (DWORD code = registry_service().user_image(&bytes); code != ERROR_SUCCESS) return code;
    if (bytes.size() > UINT_MAX) return ERROR_NOT_ENOUGH_MEMORY;
    const DWORD room = image == nullptr ? 0 : *size;
    *size = static_cast<DWORD>(bytes.size());
    if (image == nullptr) return ERROR_SUCCESS;
    if (room < bytes.size()) return ERROR_MORE_DATA;
    std::copy(bytes.begin(), bytes.end(), image);
    return ERROR_SUCCESS;
  });
}

// The image is made with operator new[] and is the caller's. A size of 0 comes without one.
DWORD KvIRegProcessEnding(BYTE** out_image, int* out_size, int) {
  if (out_image == nullptr || out_size == nullptr) return ERROR_INVALID_PARAMETER;
  return answer([&]() -> DWORD {
    registry_service().end_notifications();
    std::vector<BYTE> bytes;
    if (DWORD code = registry_service().closing_user_image(&bytes); code != ERROR_SUCCESS) return code;
    if (bytes.size() > INT_MAX) return ERROR_NOT_ENOUGH_MEMORY;
    BYTE* image = bytes.empty() ? nullptr : new BYTE[bytes.size()];
    std::copy(bytes.begin(), bytes.end(), image);
    *out_image = image;
    *out_size = static_cast<int>(bytes.size());
    return ERROR_SUCCESS;
  });
}

// Replaces the key at the path, which is made when missing, by what the file holds: all of it or nothing.
DWORD KvIRegLoadKey(HKEY key, const WinChar* path, const WinChar* file, void*) {
  if (file == nullptr) return ERROR_INVALID_PARAMETER;
  return answer([&]() -> DWORD {
    const Win_Text name(file);
    if (name.view().empty() || name.view().size() >= PATH_MAX) return ERROR_INVALID_PARAMETER;
    const Win_Text at(path);
    return registry_service().load_key(key, at.view(), file_name(name.view()).data());
  });
}

}  // extern "C"
