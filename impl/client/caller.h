// For whom a call is made: the process with its credentials, and the user whom the calling thread impersonates.
//
// An impersonated user counts only in a process of root, which may act for anybody; the socket is then made with that
// user's credentials, so that no server has to believe a claim.
#pragma once

#include <sys/types.h>

#include <optional>
#include <vector>

namespace impl::client {

struct Caller {
  int process = 0;  // a number that every forked child finds changed
  uid_t user = 0;   // effective, as are the groups
  gid_t group = 0;
  std::vector<gid_t> groups;
  std::optional<uid_t> acts_for;

  bool operator==(const Caller&) const = default;
};

// Of the calling thread, now.
Caller this_caller();

// The same without the vector: whether the process is still who made this, and whether the thread is.
bool is_same_process(const Caller& caller);
bool is_same_thread_user(const Caller& caller);

// The number of this process.
int process_number();

// While it lives, the system sees the calling thread alone as the user for whom the caller acts.
class Acting {
 public:
  explicit Acting(const Caller& caller);
  ~Acting();
  Acting(const Acting&) = delete;
  Acting& operator=(const Acting&) = delete;

  // False when the system did not let the thread become that user.
  bool worked() const { return worked_; }

 private:
  bool become(uid_t user);

  const Caller& caller_;
  bool changed_ = false;
  bool worked_ = true;
};

}  // namespace impl::client
