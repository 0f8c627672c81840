// Any text, as the user's copy of a profile and as the profile itself, answers every question. Texts that name a
// file for the defaults are left out: they would write to any file of this machine.
#include <stdlib.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "parselib/profile.h"
#include "parselib/set_from_profile.h"

namespace {

std::string folder;

void put(const std::string& file, const std::string& text) { std::ofstream(file, std::ios::binary) << text; }

void ask(Profiler& profile, const clAtom& name) {
  clAtom atom("fallback");
  Frame frame(kvistrstream("(f (a 1))"));
  profile.read_int(name, 1);
  profile.read_double(name, 0.5);
  profile.read_boolean(name, 1);
  profile.read_string(name, "text");
  profile.read_string(name, nullptr);
  profile.read_atom(name, &atom);
  profile.read_frame(name, &frame);
  profile.read_list(name, nullptr);
  get_env(profile, name.text(), "text");
  const Use_Set_Prof set(profile, name, nullptr);
}

void ask_all(const std::string& file) {
  Profiler profile(file.c_str());
  for (const char* name : {"a", "b", "name", "number-of-allocs", "alloc-sizes"}) ask(profile, clAtom(name));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  static char name[] = "/tmp/kvfuzz.XXXXXX";
  folder = mkdtemp(name);
  std::filesystem::create_directory(folder + "/home");
  setenv("HOME", (folder + "/home").c_str(), 1);
  atexit([] { std::filesystem::remove_all(folder); });
  return std::freopen("/dev/null", "w", stdout) != nullptr ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  if (text.find("profile-defaults-file") != std::string::npos) return 0;
  const size_t half = size / 2;
  put(folder + "/my.pro", text);
  std::remove((folder + "/home/my.pro").c_str());
  ask_all(folder + "/my.pro");
  put(folder + "/my.pro", text.substr(half));
  put(folder + "/home/my.pro", text.substr(0, half));
  ask_all(folder + "/my.pro");
  return 0;
}
