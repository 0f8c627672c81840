// The bell of a mailbox: a FIFO that others ring and its owner waits for.
#pragma once

#include <string>

#include "hive/store/system_calls.h"

namespace impl {

class Bell {
 public:
  Bell() = default;
  Bell(const Bell&) = delete;
  Bell& operator=(const Bell&) = delete;

  // Makes the FIFO and opens it, or opens it anew. False with errno.
  bool open(const std::string& path);

  // Waits until somebody may have rung, and silences the bell. A descriptor that was closed behind our back is noticed
  // and the bell opened anew; false when that fails.
  bool wait();

  // Closes the descriptor if it is still the bell's.
  void close();

 private:
  bool is_ours() const;

  std::string path_;
  int fd_ = -1;
  hive::File_Identity file_;
};

}  // namespace impl
