#include "tools/kvreg/accounts.h"

#include <grp.h>
#include <pwd.h>

#include <optional>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/number.h"

namespace kvreg {
namespace {

constexpr DWORD all_bits = 07777;
constexpr DWORD set_user = 04000, set_group = 02000, sticky = 01000;

std::optional<DWORD> account_number(const std::string& text) {
  const std::optional<std::uint64_t> number = parse_number(text);
  if (!number || *number > 0xFFFFFFFFu) return std::nullopt;
  return static_cast<DWORD>(*number);
}

[[noreturn]] void refuse_mode(const std::string& text) {
  throw Bad_Arguments("\"" + text + "\" is no mode: octal digits up to 7777, or such as u+w,go-rwx");
}

// Who a clause is about, as the bits of all three kinds of right that they may have.
DWORD take_who(const std::string& text, std::size_t& at) {
  DWORD who = 0;
  for (; at < text.size(); ++at) {
    switch (text[at]) {
      case 'u':
        who |= 0700 | set_user;
        break;
      case 'g':
        who |= 0070 | set_group;
        break;
      case 'o':
        who |= 0007;
        break;
      case 'a':
        who |= 0777 | set_user | set_group;
        break;
      default:
        return who != 0 ? who | sticky : all_bits;
    }
  }
  return who;
}

DWORD take_rights(const std::string& text, std::size_t& at) {
  DWORD rights = 0;
  for (; at < text.size() && text[at] != ','; ++at) {
    switch (text[at]) {
      case 'r':
        rights |= 0444;
        break;
      case 'w':
        rights |= 0222;
        break;
      case 'x':
        rights |= 0111;
        break;
      case 's':
        rights |= set_user | set_group;
        break;
      case 't':
        rights |= sticky;
        break;
      default:
        refuse_mode(text);
    }
  }
  return rights;
}

// One clause, "go-w", on a mode.
DWORD apply_clause(const std::string& text, std::size_t& at, DWORD mode) {
  const DWORD who = take_who(text, at);
  if (at == text.size()) refuse_mode(text);
  const char change = text[at++];
  const DWORD bits = take_rights(text, at) & who;
  if (change == '+') return mode | bits;
  if (change == '-') return mode & ~bits;
  if (change == '=') return (mode & ~(who & 0777)) | bits;
  refuse_mode(text);
}

}  // namespace

std::string name_of_user(DWORD user) {
  const passwd* const entry = getpwuid(user);
  return entry != nullptr ? entry->pw_name : std::to_string(user);
}

std::string name_of_group(DWORD group) {
  const struct group* const entry = getgrgid(group);
  return entry != nullptr ? entry->gr_name : std::to_string(group);
}

DWORD parse_user(const std::string& text) {
  if (const passwd* const entry = getpwnam(text.c_str())) return entry->pw_uid;
  if (const std::optional<DWORD> number = account_number(text)) return *number;
  throw Bad_Arguments("\"" + text + "\" is no user");
}

DWORD parse_group(const std::string& text) {
  if (const struct group* const entry = getgrnam(text.c_str())) return entry->gr_gid;
  if (const std::optional<DWORD> number = account_number(text)) return *number;
  throw Bad_Arguments("\"" + text + "\" is no group");
}

std::string shown_mode(DWORD mode) {
  std::string text = "rwxrwxrwx";
  for (std::size_t i = 0; i < text.size(); ++i)
    if ((mode & (0400u >> i)) == 0) text[i] = '-';
  if ((mode & set_user) != 0) text[2] = text[2] == 'x' ? 's' : 'S';
  if ((mode & set_group) != 0) text[5] = text[5] == 'x' ? 's' : 'S';
  if ((mode & sticky) != 0) text[8] = text[8] == 'x' ? 't' : 'T';
  return text;
}

DWORD parse_mode(const std::string& text, DWORD standing) {
  if (text.empty()) refuse_mode(text);
  if (text[0] >= '0' && text[0] <= '9') {
    const std::optional<std::uint32_t> mode = parse_octal(text, all_bits);
    if (!mode) refuse_mode(text);
    return *mode;
  }
  DWORD mode = standing;
  for (std::size_t at = 0; at < text.size();) {
    mode = apply_clause(text, at, mode);
    if (at < text.size() && text[at] == ',') ++at;
  }
  return mode;
}

}  // namespace kvreg
