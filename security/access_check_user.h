// A user's entry, looked up by uid into a buffer of its own.
#pragma once

#include <pwd.h>

#include <cstddef>

inline namespace kelvane {

class Unix_User {
 public:
  Unix_User() = default;
  Unix_User(const Unix_User&) = delete;
  Unix_User& operator=(const Unix_User&) = delete;

  // False when there is no entry, it cannot be read, or it is larger than the buffer.
  bool find(uid_t uid) {
    passwd* found = nullptr;
    return getpwuid_r(uid, &entry_, buffer_, sizeof buffer_, &found) == 0 && found != nullptr;
  }

  // After find was true.
  uid_t uid() const { return entry_.pw_uid; }
  const char* login_name() const { return entry_.pw_name; }

 private:
  static constexpr std::size_t buffer_size = 2048;

  passwd entry_;
  char buffer_[buffer_size];
};

}  // namespace kelvane
