// Which client wants to be told of which process. A request is good for one notification.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "impl/server/session.h"

namespace impl::server {

struct Request {
  Session* asker;
  pid_t process;
  std::string start;  // tells the process from a later one of the same number
  std::uint32_t kind;

  bool operator==(const Request&) const = default;
};

class Requests {
 public:
  // The same request twice is one. False when the client has as many as one may have.
  bool add(Request request);
  void remove(const Request& request);
  // Takes out the requests for a kind of a process that the reporting client is allowed to answer.
  std::vector<Session*> take(const Session& reporter, std::uint32_t kind);
  void forget(const Session& asker);

 private:
  std::vector<Request> requests_;
};

}  // namespace impl::server
