// A socket of this library in a program that may close every descriptor: it is used only as long as its number still
// leads to it.
#pragma once

#include <sys/types.h>

namespace impl::client {

class Own_Socket {
 public:
  Own_Socket() = default;
  // Takes the descriptor over, or a copy of it above the standard ones.
  explicit Own_Socket(int fd);
  Own_Socket(Own_Socket&& other) noexcept;
  Own_Socket& operator=(Own_Socket&& other) noexcept;
  ~Own_Socket() { close(); }

  int fd() const { return fd_; }
  bool is_open() const { return fd_ >= 0; }
  // Whether the number still leads to this socket.
  bool is_ours() const;
  // Closes it if it is still ours.
  void close();
  // Lets go of the number: whoever took it closes it.
  void release() { fd_ = -1; }

 private:
  int fd_ = -1;
  dev_t device_ = 0;
  ino_t inode_ = 0;
};

}  // namespace impl::client
