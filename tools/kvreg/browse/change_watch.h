// Tells through a descriptor that something below some keys was changed, by whomever. A thread of its own waits for the
// registry's events; nobody polls.
#pragma once

#include <windef.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "tools/kvreg/key.h"

namespace kvreg {

class Change_Watch {
 public:
  // Keys that cannot be watched are left out. Signals that are not blocked here may come to the thread.
  explicit Change_Watch(const std::vector<Key_Path>& tops);
  ~Change_Watch();
  Change_Watch(const Change_Watch&) = delete;
  Change_Watch& operator=(const Change_Watch&) = delete;

  // Readable from a change on until it is taken.
  int descriptor() const { return read_end_; }
  // Takes what was told. From now on the next changes are told; who looks at the keys behind this call misses none.
  void take();

 private:
  struct Watched {
    Key key;
    HANDLE event;
    std::atomic<bool> is_told{false};

    Watched(Key opened, HANDLE made) : key(std::move(opened)), event(made) {}
  };

  void watch(const Key_Path& top);
  void arm(const Watched& watched) const;
  void wait_for_changes();

  std::vector<std::unique_ptr<Watched>> watched_;
  HANDLE ending_;
  int read_end_ = -1;
  int write_end_ = -1;
  std::thread thread_;
};

}  // namespace kvreg
