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

bool check_hive(HKEY root, std::string name, std::string* out_reason) {
  KvHiveCounts counts{};
  const LSTATUS code = KvCheckKey(root, &counts, say_fault, &name);
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

}  // namespace

bool check_hives(bool machine_wide, std::string* out_reason) {
  return check_hive(HKEY_LOCAL_MACHINE, "The machine's hive", out_reason) &&
         (machine_wide || check_hive(HKEY_CURRENT_USER, "The user's hive", out_reason));
}

}  // namespace regss
