// Checks over users, groups and scripts of the test's own. A test runs its checks in a child whose host has the users
// and whose search path begins with the test's folder; what the child prints is the test's answer.
#ifndef KELVANE_TESTS_SECURITY_TOKENS_ACCESS_CHECKS_H
#define KELVANE_TESTS_SECURITY_TOKENS_ACCESS_CHECKS_H

#include <kelvane/token.h>
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <optional>

#include "tests/security/guarded.h"
#include "tests/support/child.h"
#include "tests/support/private_users.h"

namespace kvtest {

using Ids = std::vector<DWORD>;

// A SID with these sub-authorities between guard pages; no list is a null SID.
class Id_Sid {
 public:
  explicit Id_Sid(const std::optional<Ids>& ids) : there_(ids.has_value()), memory_(content(ids.value_or(Ids()))) {}
  PSID sid() { return there_ ? static_cast<void*>(memory_) : nullptr; }

 private:
  static std::string content(const Ids& ids) {
    std::string bytes = {1, static_cast<char>(ids.size()), 0, 0, 0, 0, 0, 0};
    for (DWORD id : ids) bytes.append(reinterpret_cast<const char*>(&id), sizeof id);
    return bytes;
  }

  bool there_;
  Guarded memory_;
};

inline HANDLE token_of(UINT_PTR number) { return reinterpret_cast<HANDLE>(number); }

struct Check_Answer {
  BOOL result;
  BOOL status;
  DWORD granted_access;
  DWORD privileges_size;
  DWORD error;
};

// Desires 0x1F01FF; the outputs and the last error hold 77 before.
inline Check_Answer check_descriptor(PSECURITY_DESCRIPTOR descriptor, HANDLE token) {
  Check_Answer answer = {77, 77, 77, 77, 77};
  SetLastError(77);
  answer.result = KvAccessCheck(descriptor, token, 0x1F01FF, nullptr, nullptr, &answer.privileges_size,
                                &answer.granted_access, &answer.status);
  answer.error = GetLastError();
  return answer;
}

inline Check_Answer check(const std::optional<Ids>& owners, const std::optional<Ids>& groups, HANDLE token) {
  Id_Sid owner(owners);
  Id_Sid group(groups);
  SECURITY_DESCRIPTOR descriptor = {};
  descriptor.Revision = 1;
  descriptor.Owner = owner.sid();
  descriptor.Group = group.sid();
  return check_descriptor(&descriptor, token);
}

// "granted", "denied", or everything when it is neither as it should be.
inline std::string word_for(const Check_Answer& answer) {
  const bool common = answer.result == TRUE && answer.granted_access == 0x1F01FF && answer.privileges_size == 0;
  if (common && answer.status == TRUE && answer.error == 77) return "granted";
  if (common && answer.status == FALSE && answer.error == 5) return "denied";
  return "result " + std::to_string(answer.result) + " status " + std::to_string(answer.status) + " access " +
         std::to_string(answer.granted_access) + " error " + std::to_string(answer.error);
}

inline std::string verdict(const std::optional<Ids>& owners, const std::optional<Ids>& groups, UINT_PTR uid) {
  return word_for(check(owners, groups, token_of(uid)));
}

// The folders of a test and the child that sees them.
class Host_Of_Users {
 public:
  // Lines of passwd beside root's.
  explicit Host_Of_Users(std::string users = "anna:x:500:100::/:/bin/sh\n", std::string groups = "")
      : users_(std::move(users)), groups_(std::move(groups)) {}

  // The script that the checks find. It writes its arguments, one line a run, to the file "runs".
  void set_script(const std::string& body) {
    write_program("getgr.sh", "#!/bin/sh\necho \"$#:$*\" >> " + path("runs") + "\n" + body + "\n");
  }
  void write_program(const std::string& name, const std::string& text) {
    std::ofstream(path(name)) << text;
    chmod(path(name).c_str(), 0755);
  }
  std::string path(const std::string& name) const { return bin_ / name; }
  std::string etc(const std::string& name) const { return etc_ / name; }
  std::string runs() const {
    std::ifstream file(path("runs"));
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  // What the function prints and returns, in a child; "skip: " and the reason where there can be no such child.
  std::string run(const std::function<std::string()>& function) const {
    const Child_Result child = run_child([&] {
      const std::string no = put_users_over_etc(etc_.path(), users_, groups_);
      if (!no.empty()) {
        printf("skip: %s", no.c_str());
        return;
      }
      setenv("PATH", (bin_.path() + ":/usr/bin:/bin").c_str(), 1);
      printf("%s", function().c_str());
    });
    complaints_ = child.err;
    return child.signal == 0 ? child.out : "signal " + std::to_string(child.signal);
  }
  // What the last child wrote to standard error.
  const std::string& complaints() const { return complaints_; }

 private:
  std::string users_;
  std::string groups_;
  Temp_Folder etc_;
  Temp_Folder bin_;
  mutable std::string complaints_;
};

#define EXPECT_ANSWER(answer, expected)                   \
  do {                                                    \
    const std::string told = (answer);                    \
    if (told.starts_with("skip: ")) GTEST_SKIP() << told; \
    EXPECT_EQ(told, expected);                            \
  } while (false)

}  // namespace kvtest

#endif
