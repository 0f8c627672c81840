// Prints a registry key and everything below it, one line a value:  listing [HKCU|HKLM] [path]

#include <windows.h>

#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

static void PrintValue(int depth, const char* name, DWORD type, const BYTE* data, DWORD size) {
  printf("%*s%s = ", depth * 2, "", *name != '\0' ? name : "(default)");
  if (type == REG_SZ || type == REG_EXPAND_SZ) {
    printf("\"%.*s\"\n", (int)size, (const char*)data);
  } else if (type == REG_DWORD && size == sizeof(DWORD)) {
    DWORD number;
    memcpy(&number, data, sizeof(number));
    printf("%u\n", number);
  } else {
    printf("type %u, %u bytes:", type, size);
    for (DWORD i = 0; i < size && i < 24; i++) printf(" %02x", data[i]);
    printf("%s\n", size > 24 ? " ..." : "");
  }
}

static LONG PrintValues(HKEY key, int depth, DWORD longest_name, DWORD largest) {
  std::vector<char> name(longest_name * 4 + 1);
  std::vector<BYTE> data(largest * 2 + 1);
  for (DWORD index = 0;; index++) {
    DWORD name_size = (DWORD)name.size(), type = 0, size = (DWORD)data.size();
    LONG error = RegEnumValueA(key, index, name.data(), &name_size, NULL, &type, data.data(), &size);
    if (error == ERROR_NO_MORE_ITEMS) return ERROR_SUCCESS;
    if (error != ERROR_SUCCESS) return error;
    PrintValue(depth, name.data(), type, data.data(), size);
  }
}

static LONG PrintKey(HKEY parent, const char* name, int depth) {
  HKEY key = NULL;
  LONG error = RegOpenKeyExA(parent, name, 0, KEY_READ, &key);
  if (error != ERROR_SUCCESS) return error;
  printf("%*s[%s]\n", depth * 2, "", name);
  DWORD longest_key = 0, longest_value = 0, largest = 0;
  error = RegQueryInfoKeyA(key, NULL, NULL, NULL, NULL, &longest_key, NULL, NULL, &longest_value, &largest, NULL, NULL);
  if (error == ERROR_SUCCESS) error = PrintValues(key, depth + 1, longest_value, largest);
  std::vector<char> child(longest_key * 4 + 1);
  for (DWORD index = 0; error == ERROR_SUCCESS; index++) {
    DWORD size = (DWORD)child.size();
    error = RegEnumKeyExA(key, index, child.data(), &size, NULL, NULL, NULL, NULL);
    if (error == ERROR_SUCCESS) error = PrintKey(key, child.data(), depth + 1);
  }
  RegCloseKey(key);
  return error == ERROR_NO_MORE_ITEMS ? ERROR_SUCCESS : error;
}

int main(int argc, char** argv) {
  const std::string root = argc > 1 ? argv[1] : "HKCU";
  if (argc > 3 || (root != "HKCU" && root != "HKLM")) {
    fprintf(stderr, "usage: listing [HKCU|HKLM] [path]\n");
    return 2;
  }
  const char* path = argc > 2 ? argv[2] : "";
  printf("%s\n", root.c_str());
  LONG error = PrintKey(root == "HKLM" ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER, path, 0);
  if (error != ERROR_SUCCESS) fprintf(stderr, "listing: %s\\%s: error %ld\n", root.c_str(), path, (long)error);
  return error == ERROR_SUCCESS ? 0 : 1;
}
