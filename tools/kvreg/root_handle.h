// The handle from which a path is followed: a root key of this host, or of another machine, opened for its owner.
#pragma once

#include "tools/kvreg/key_path.h"

namespace kvreg {

class Root_Handle {
 public:
  // Throws Failure.
  explicit Root_Handle(const Key_Path& path);
  ~Root_Handle();
  Root_Handle(const Root_Handle&) = delete;
  Root_Handle& operator=(const Root_Handle&) = delete;
  operator HKEY() const { return handle_; }

 private:
  HKEY handle_;
  bool is_open_;
};

// Throws a Failure with the key, and the hive's file where it matters, for any code but 0.
void check_code(DWORD code, const Key_Path& path);

}  // namespace kvreg
