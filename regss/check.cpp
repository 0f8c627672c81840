#include "regss/check.h"

#include <kelvane/optional.h>

#include <cwchar>

#include "regss/log.h"

namespace regss {
namespace {

// As far as it goes: a character that the locale does not have is a question mark.
std::string narrow(const wchar_t* text) {
  std::string result;
  for (; *text != L'\0'; ++text) result += *text < 0x80 ? static_cast<char>(*text) : '?';
  return result;
}

BOOL say_fault(void* context, const KvHiveFault* fault) {
  std::string line = *static_cast<const std::string*>(context) + ": " + fault->text;
  if (fault->key != nullptr) line += ", key \"" + narrow(fault->key) + "\"";
  if (fault->value != nullptr) line += ", value \"" + narrow(fault->value) + "\"";
  say(lowest_level, line);
  return TRUE;
}

// The answer of a look through a hive.
bool judge(const std::string& name, LSTATUS code, const KvHiveCounts& counts, std::string* out_reason) {
  if (code != ERROR_SUCCESS) {
    *out_reason = name + " cannot be looked through: error " + std::to_string(code);
    return false;
  }
  if (counts.faults == 0) {
    say(highest_level, name + ": " + std::to_string(counts.keys) + " keys without fault");
    return true;
  }
  *out_reason = name + " has faults: " + std::to_string(counts.faults);
  return false;
}

bool check_root(HKEY root, std::string name, std::string* out_reason) {
  KvHiveCounts counts{};
  const LSTATUS code = KvCheckKey(root, &counts, say_fault, &name);
  return judge(name, code, counts, out_reason);
}

// One that is not made yet has no fault.
bool check_file(const std::string& file, std::string name, std::string* out_reason) {
  KvHiveCounts counts{};
  const LSTATUS code = KvCheckHiveFile(file.c_str(), &counts, say_fault, &name);
  return code == ERROR_FILE_NOT_FOUND || judge(name, code, counts, out_reason);
}

}  // namespace

bool check_hives(const std::string& file_of_users, std::string* out_reason) {
  if (!check_root(HKEY_LOCAL_MACHINE, "The machine's hive", out_reason)) return false;
  return file_of_users.empty() ? check_root(HKEY_CURRENT_USER, "The user's hive", out_reason)
                               : check_file(file_of_users, "The users' hive", out_reason);
}

}  // namespace regss
