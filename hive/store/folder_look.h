// The state of a folder, by which it is known without looking at each that no name in it was made, taken away or given
// to another file.
#pragma once

#include <cstdint>
#include <string>

#include "hive/store/system_calls.h"

namespace hive {

struct Folder_Look {
  File_Identity folder;
  std::int64_t changed = 0;  // when its names last changed, in nanoseconds
  // Long enough ago for a later change to get another time.
  bool is_settled = false;

  bool operator==(const Folder_Look&) const = default;
};

// Never settled when there is no such folder.
Folder_Look look_at_folder(const std::string& folder);

// A folder that is looked at often: through a descriptor, which tells also when the folder itself was moved, and now
// and then by its path, which tells when one above it was. For one thread at a time.
class Known_Folder {
 public:
  Known_Folder() = default;
  ~Known_Folder() { let_go(); }
  Known_Folder(const Known_Folder&) = delete;
  Known_Folder& operator=(const Known_Folder&) = delete;

  // Empty: none.
  void move_to(const std::string& path);
  bool is_none() const { return path_.empty(); }
  Folder_Look look();

 private:
  bool look_through_descriptor(Folder_Look* out);
  void let_go();

  std::string path_;
  int fd_ = -1;
  File_Identity opened_;
  unsigned looks_ = 0;
};

}  // namespace hive
