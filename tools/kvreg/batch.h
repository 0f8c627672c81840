// Many changes as one transaction of each hive that they touch.
#pragma once

#include <windef.h>

#include <string>
#include <vector>

namespace kvreg {

// How a batch ended in one hive.
struct Hive_Outcome {
  std::string hive;  // "HKLM", "HKCU" or "HKU", with the file
  DWORD code;        // 0 when all of the batch is in it, else why nothing is
};

class Batch {
 public:
  // Throws Failure.
  Batch();
  // Abandons what was not committed.
  ~Batch();
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  // Throws Complaint when a hive did not take its part: it tells which ones did.
  std::vector<Hive_Outcome> commit();

 private:
  bool is_open_ = true;
};

}  // namespace kvreg
