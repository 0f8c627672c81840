// A shared object as a ported library is built, for a host that knows nothing of the registry. Each function
// answers 0 when everything was as it should, otherwise the number of what was not.
#include <windows.h>

#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

namespace {

// Text that ends at the last byte of a page behind which nothing may be read.
struct Page_End {
  explicit Page_End(const char* text) {
    long size = sysconf(_SC_PAGESIZE);
    pages = static_cast<char*>(mmap(nullptr, 2 * size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    mprotect(pages + size, size, PROT_NONE);
    length = static_cast<DWORD>(strlen(text));
    at = pages + size - length;
    memcpy(at, text, length);
  }
  ~Page_End() { munmap(pages, 2 * sysconf(_SC_PAGESIZE)); }

  char* pages;
  char* at;
  DWORD length;
};

int use_key(HKEY key, DWORD number) {
  DWORD back = 0, size = sizeof back, type = 0;
  if (RegSetValueEx(key, "n", 0, REG_DWORD, reinterpret_cast<BYTE*>(&number), sizeof number) != 0) return 2;
  if (RegQueryValueEx(key, "n", nullptr, &type, reinterpret_cast<BYTE*>(&back), &size) != 0) return 3;
  if (back != number || type != REG_DWORD || size != 4) return 4;
  char name[16];
  DWORD name_size = sizeof name;
  if (RegEnumValue(key, 0, name, &name_size, nullptr, nullptr, nullptr, nullptr) != 0) return 5;
  return 0;
}

}  // namespace

extern "C" KV_EXPORT int plug_in_use(unsigned number) {
  HKEY key = nullptr;
  if (RegCreateKeyEx(HKEY_CURRENT_USER, "Software\\PlugIn", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr)) {
    return 1;
  }
  int wrong = use_key(key, number);
  if (RegCloseKey(key) != 0) return 6;
  return wrong;
}

// What an earlier use, perhaps of an earlier loading, left.
extern "C" KV_EXPORT int plug_in_finds(unsigned number) {
  HKEY key = nullptr;
  DWORD back = 0, size = sizeof back;
  if (RegOpenKeyEx(HKEY_CURRENT_USER, "Software\\PlugIn", 0, KEY_READ, &key) != 0) return 1;
  if (RegQueryValueEx(key, "n", nullptr, nullptr, reinterpret_cast<BYTE*>(&back), &size) != 0) return 2;
  RegCloseKey(key);
  return back == number ? 0 : 3;
}

// Unterminated text at the end of a page: the byte behind it cannot be looked at.
extern "C" KV_EXPORT int plug_in_probes_page_end(void) {
  Page_End text("edge");
  HKEY key = nullptr;
  char back[8] = "#######";
  DWORD size = sizeof back;
  if (RegCreateKeyEx(HKEY_CURRENT_USER, "Software\\PlugIn", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr)) {
    return 1;
  }
  if (RegSetValueEx(key, "t", 0, REG_SZ, reinterpret_cast<BYTE*>(text.at), text.length) != 0) return 2;
  if (RegQueryValueEx(key, "t", nullptr, nullptr, reinterpret_cast<BYTE*>(back), &size) != 0) return 3;
  RegCloseKey(key);
  return size == 4 && memcmp(back, "edge###", 7) == 0 ? 0 : 4;
}
