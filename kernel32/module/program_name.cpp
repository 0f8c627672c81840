// KvGetInstanceProgramName. The names are kept for ever in a list that only grows and needs no lock.
#include <kelvane/module.h>

#include <atomic>
#include <cctype>
#include <string>

#include "kernel32/module/file_name.h"

namespace {

struct Kept_Name {
  std::string text;
  const Kept_Name* next;
};

std::atomic<const Kept_Name*> kept_names;

const char* keep(const std::string& text) {
  for (const Kept_Name* kept = kept_names.load(); kept != nullptr; kept = kept->next) {
    if (kept->text == text) return kept->text.c_str();
  }
  Kept_Name* kept = new Kept_Name{text, kept_names.load()};
  while (!kept_names.compare_exchange_weak(kept->next, kept)) {
  }
  return kept->text.c_str();
}

// ".so" with any version behind it, or the last part behind a dot; digits alone ("tool-1.2") are no extension.
size_t extension_begin(const std::string& name) {
  size_t shared = name.find(".so");
  if (shared != name.npos && (shared + 3 == name.size() || name[shared + 3] == '.')) return shared;
  size_t dot = name.rfind('.');
  bool is_extension = dot != name.npos && dot > 0 && isalpha(static_cast<unsigned char>(name[dot + 1])) != 0;
  return is_extension ? dot : name.size();
}

std::string name_of_file(const std::string& file, bool is_library) {
  std::string name = file.substr(file.rfind('/') + 1);
  name.resize(extension_begin(name));
  if (is_library && name.size() > 3 && name.starts_with("lib")) name.erase(0, 3);
  return name;
}

}  // namespace

const char* KvGetInstanceProgramName(HMODULE module) {
  std::string file = kelvane::module_file(module);
  return keep(name_of_file(file, module != nullptr && file != kelvane::program_file()));
}
