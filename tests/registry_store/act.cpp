// A ported program that does the steps it is given, separated by ",", and prints one line for each:
//
//   user                     becomes a user without privileges
//   create KEY               the result
//   set KEY TEXT             the result of storing the text as the key's default value
//   show KEY                 the default value, or the code
//   rights KEY               mode (octal), owner and group, or the code
//   mode-rec|owner-rec|group-rec KEY NUMBER
//   save [FILE]              the result of RegSaveHKCU
//   pair KEY                 stores growing numbers as "first" and then "second" until it is ended; prints "." after
//                            the first pair
//   difference KEY           first minus second
//
// KEY starts with HKLM or HKCU.
#include <kelvane/registry_admin.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/ordinary_user.h"

namespace {

using Words = std::vector<std::string>;

struct Place {
  HKEY root;
  std::string path;
};

Place place_of(const std::string& key) {
  const HKEY root = key.compare(0, 4, "HKCU") == 0 ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
  return {root, key.size() > 5 ? key.substr(5) : ""};
}

HKEY open_or_make(const std::string& name, LSTATUS* out_result) {
  const Place place = place_of(name);
  HKEY key = nullptr;
  *out_result = RegCreateKeyEx(place.root, place.path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
  return key;
}

void show(const Words& words) {
  const Place place = place_of(words[1]);
  char text[100] = "";
  LONG size = sizeof text;
  const LSTATUS result = RegQueryValue(place.root, place.path.c_str(), text, &size);
  if (result == ERROR_SUCCESS) {
    printf("%s\n", text);
  } else {
    printf("%d\n", result);
  }
}

void rights(const Words& words) {
  const Place place = place_of(words[1]);
  unsigned mode = 0, owner = 0, group = 0;
  const LSTATUS result = RegUxDescribeKey(place.root, place.path.c_str(), &mode, &owner, &group);
  if (result == ERROR_SUCCESS) {
    printf("%o %u %u\n", mode, owner, group);
  } else {
    printf("%d\n", result);
  }
}

LSTATUS change(const Words& words) {
  const Place place = place_of(words[1]);
  const char* const path = place.path.c_str();
  if (words[0] == "mode-rec")
    return RegUxChmodRec(place.root, path, static_cast<unsigned>(std::stoul(words[2], nullptr, 8)));
  const auto id = static_cast<unsigned>(std::stoul(words[2]));
  return words[0] == "owner-rec" ? RegUxChownRec(place.root, path, id) : RegUxChgrpRec(place.root, path, id);
}

DWORD number(HKEY key, const char* name) {
  DWORD found = 0, size = sizeof found;
  if (RegQueryValueEx(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&found), &size) != 0) exit(3);
  return found;
}

void store_number(HKEY key, const char* name, DWORD number) {
  if (RegSetValueEx(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number) != 0) exit(4);
}

[[noreturn]] void store_pairs(const Words& words) {
  LSTATUS result = 0;
  HKEY key = open_or_make(words[1], &result);
  for (DWORD i = 1;; ++i) {
    store_number(key, "first", i);
    store_number(key, "second", i);
    if (i == 1) {
      printf(".");
      fflush(stdout);
    }
  }
}

void step(const Words& words) {
  const std::string& verb = words[0];
  LSTATUS result = 0;
  if (verb == "show") return show(words);
  if (verb == "rights") return rights(words);
  if (verb == "pair") store_pairs(words);
  if (verb == "difference") {
    HKEY key = open_or_make(words[1], &result);
    printf("%u\n", number(key, "first") - number(key, "second"));
    return;
  }
  if (verb == "user") result = kvtest::become_ordinary_user() ? 0 : 1;
  if (verb == "create") open_or_make(words[1], &result);
  if (verb == "set") {
    const Place place = place_of(words[1]);
    result = RegSetValue(place.root, place.path.c_str(), REG_SZ, words[2].c_str(), 0);
  }
  if (verb.size() > 4 && verb.substr(verb.size() - 4) == "-rec") result = change(words);
  if (verb == "save") result = RegSaveHKCU(words.size() > 1 ? words[1].c_str() : nullptr);
  printf("%d\n", result);
}

}  // namespace

int main(int count, char** arguments) {
  Words words;
  for (int i = 1; i <= count; ++i) {
    if (i < count && arguments[i] != std::string(",")) {
      words.emplace_back(arguments[i]);
      continue;
    }
    if (!words.empty()) step(words);
    words.clear();
  }
}
