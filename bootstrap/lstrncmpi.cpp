// Comparison of text without case, byte by byte.

#include <kelvane/advapi32.h>

#include <cctype>

int lstrncmpiA(const char* first, const char* second, int count) {
  for (int i = 0; i < count; ++i) {
    const int left = std::tolower(static_cast<unsigned char>(first[i]));
    const int right = std::tolower(static_cast<unsigned char>(second[i]));
    if (left != right || left == '\0') return left - right;
  }
  return 0;
}
