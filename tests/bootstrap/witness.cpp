// An implementation library that appends a line for each call to the file named by KVTEST_RECORD:
//
//   advapi32impl.dll KvIRegOpenKeyEx name
//
// The name is the sub-key's for the calls that give a key, and that same name when the key is closed. Without
// KVTEST_RECORD nothing is written. At the end of the process it answers KVTEST_ENDING_RESULT (0 when not set)
// and the text of KVTEST_IMAGE as the user's hive.
#include <fcntl.h>
#include <kelvane/registry_entries.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr int line_room = 512;

// One write a line, so that the lines of several processes do not mix; opened anew each time, so that a
// process may close all its descriptors.
void record(const char* entry, const char* name) {
  const char* file = std::getenv("KVTEST_RECORD");
  if (file == nullptr) return;
  char line[line_room];
  const int size =
      std::snprintf(line, sizeof line, "%s %s%s%s\n", KVTEST_WITNESS_NAME, entry, *name != '\0' ? " " : "", name);
  const int descriptor = open(file, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (write(descriptor, line, static_cast<size_t>(size)) != size) abort();
  close(descriptor);
}

// The key that stands for a name: the name itself, never released.
HKEY key_named(const WinChar* name) {
  char text[line_room] = {};
  for (int i = 0; name != nullptr && name[i].low != 0 && i < line_room - 1; ++i)
    text[i] = static_cast<char>(name[i].low);
  return reinterpret_cast<HKEY>(strdup(text));
}

const char* name_of(HKEY key) {
  const auto number = reinterpret_cast<uintptr_t>(key);
  return number > 0xFFFFFFFFu ? reinterpret_cast<const char*>(key) : "root";
}

DWORD give_key(const char* entry, const WinChar* name, HKEY* out_key) {
  *out_key = key_named(name);
  record(entry, name_of(*out_key));
  return 0;
}

DWORD give_image(BYTE** out_image, int* out_size) {
  record("KvIRegProcessEnding", "");
  const char* image = std::getenv("KVTEST_IMAGE");
  if (image != nullptr) {
    *out_image = reinterpret_cast<BYTE*>(strdup(image));
    *out_size = static_cast<int>(std::strlen(image));
  }
  const char* result = std::getenv("KVTEST_ENDING_RESULT");
  return result != nullptr ? static_cast<DWORD>(std::strtoul(result, nullptr, 10)) : 0;
}

// What an entry answers; the number is its place in the list.
template <int number, class Result>
struct Answer {
  const char* entry;
  template <class... Arguments>
  Result operator()(Arguments... arguments) const {
    return answer(arguments...);
  }

 private:
  template <class... Arguments>
  Result answer(Arguments... arguments) const {
    record(entry, "");
    (static_cast<void>(arguments), ...);
    return Result();
  }
};

template <class Result>
struct Answer<0, Result> {
  const char* entry;
  Result operator()(HKEY, const WinChar* sub_key, DWORD, const WinChar*, DWORD, DWORD, SECURITY_ATTRIBUTES*,
                    HKEY* out_key, DWORD*, DWORD, void*) const {
    return give_key(entry, sub_key, out_key);
  }
};

template <class Result>
struct Answer<5, Result> {
  const char* entry;
  Result operator()(HKEY, const WinChar* sub_key, DWORD, DWORD, HKEY* out_key, void*) const {
    return give_key(entry, sub_key, out_key);
  }
};

template <class Result>
struct Answer<9, Result> {
  const char* entry;
  Result operator()(HKEY key, void*) const {
    record(entry, name_of(key));
    return 0;
  }
};

template <class Result>
struct Answer<18, Result> {
  const char* entry;
  Result operator()(BYTE** out_image, int* out_size, int) const { return give_image(out_image, out_size); }
};

}  // namespace

extern "C" {

#define KV_SLOT(number, name, result, parameters, arguments) \
  KV_EXPORT result name parameters { return Answer<number, result>{#name} arguments; }
#include <kelvane/registry_slots.def>
#undef KV_SLOT

// Of the same name as the end marker of the table.
KV_EXPORT void LastFunc() {}
}
