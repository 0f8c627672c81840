// What the tests of the user's hive file share.
#ifndef KELVANE_TESTS_REGISTRY_USER_FILE_H
#define KELVANE_TESTS_REGISTRY_USER_FILE_H

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <kelvane/user_hive_file.h>

#include "tests/support/child.h"

namespace kvtest {

inline std::string content_of(const std::string& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}

inline DWORD write_user_file(const std::string& path, std::string image) {
  return KvWriteHKCUFile(path.c_str(), reinterpret_cast<unsigned char*>(image.data()), static_cast<int>(image.size()));
}

// The names in a folder, sorted, with a blank behind each.
inline std::string names_in(const std::string& folder) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  std::string line;
  for (const std::string& name : names) line += name + " ";
  return line;
}

// How often the next calls of link fail with a stale handle, and how often link was called.
int& stale_links();
int& link_calls();

}  // namespace kvtest

#endif
