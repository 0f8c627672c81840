// A descriptor of the library's own. A program may close every descriptor that it finds and get the same numbers
// for files of its own; whoever uses a descriptor asks is_ours() first.
#ifndef KELVANE_KERNEL32_SYNC_OWN_DESCRIPTOR_H
#define KELVANE_KERNEL32_SYNC_OWN_DESCRIPTOR_H

#include <sys/types.h>

#include <cstdint>

inline namespace kelvane {

class Own_Descriptor {
 public:
  // Takes the descriptor over, moved above the standard ones; -1 is none.
  explicit Own_Descriptor(int fd = -1);
  ~Own_Descriptor() { reset(); }
  Own_Descriptor(Own_Descriptor&& other) noexcept;
  Own_Descriptor& operator=(Own_Descriptor&& other) noexcept;
  Own_Descriptor(const Own_Descriptor&) = delete;
  Own_Descriptor& operator=(const Own_Descriptor&) = delete;

  int get() const { return fd_; }

  // Whether the number still leads to what it was made for.
  bool is_ours() const;

  // Closes it if it is still ours.
  void reset();

 private:
  int fd_;
  std::uint32_t id_ = 0; /* of this owner among those that the number had */
  dev_t device_ = 0;
  ino_t inode_ = 0;
  int mark_ = 0;
};

}  // namespace kelvane

#endif
