// Watches of keys: questions that the server answers only when something changes.
//
// They are asked over connections of their own, by one thread that waits for all of them and ends with the last. A
// watch whose connection breaks is told, because a change may have been missed. A forked child has none of its
// parent's.
#pragma once

#include <condition_variable>
#include <list>
#include <memory>
#include <vector>

#include "impl/client/carrier.h"

namespace impl::client {

// Who is told of a change; once, on the watches' thread.
class Watcher {
 public:
  virtual ~Watcher() = default;
  virtual void tell() = 0;
};

class Watches {
 public:
  explicit Watches(Carrier& carrier) : carrier_(carrier) {}
  Watches(const Watches&) = delete;
  Watches& operator=(const Watches&) = delete;

  // ERROR_SUCCESS when the server watches: every change from now on is told. The watcher is released when it was told.
  DWORD begin(const Subject& subject, bool subtree, DWORD filter, std::shared_ptr<Watcher> watcher);

 private:
  struct Watch;
  struct Line;
  struct Crew;

  DWORD hand_over(const std::shared_ptr<Watch>& watch, const std::shared_ptr<Session>& session);
  std::shared_ptr<Crew> crew();
  static void run(const std::shared_ptr<Crew>& crew);

  Carrier& carrier_;
  std::shared_ptr<Crew> crew_;  // with the client's lock
};

}  // namespace impl::client
