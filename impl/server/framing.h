// Looks at what a client has sent before it is read, so that a message that is too long is never taken into memory.
//
// A message begins with 16 bytes that tell its length. While they are incomplete, and more may come, nothing is read.
// One look shows all short messages that are there, so that they cost no look each. A client that sends its first
// message together with the end of its greeting can only be held to less: what has come of a message that is not whole
// is counted.
#pragma once

#include <cstddef>

namespace impl::server {

class Framing {
 public:
  enum class Look {
    read,      // go on
    wait,      // nothing is there
    more,      // too little is there: to be looked at when there is more
    too_long,  // to be parted from
  };

  // Before each step of reading; is_greeting: the client has not finished its greeting.
  Look look(int socket, bool is_greeting);
  // After it.
  void took_message();
  void took_nothing();

 private:
  Look look_at_greeting(int socket);
  Look look_at_messages(int socket);
  void count_whole(const char* bytes, std::size_t size);
  Look count(int socket);

  bool knows_boundaries_ = true;
  bool is_inside_ = false;
  std::size_t whole_ = 0;       // messages that the last look has shown and that were not taken yet
  bool are_all_there_ = false;  // behind them nothing was there
  std::size_t counted_ = 0;
};

}  // namespace impl::server
