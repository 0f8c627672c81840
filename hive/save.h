// A key and all below it as a new hive file. Volatile keys are left out.
#pragma once

#include <memory>
#include <string>

#include "hive/store/connection.h"

namespace hive {

class New_Hive_File {
 public:
  explicit New_Hive_File(std::string file) : file_(std::move(file)) {}
  // Removes the file unless it was kept.
  ~New_Hive_File();
  New_Hive_File(const New_Hive_File&) = delete;
  New_Hive_File& operator=(const New_Hive_File&) = delete;

  // The empty file, for this user alone; exists when something stands there.
  Status make();
  // In a transaction of the source.
  Status write_tree(Connection& source, std::int64_t key);
  // On the disk to stay.
  Status keep();

 private:
  Status fill(Connection& target, Connection& source, std::int64_t key);

  std::string file_;
  bool made_ = false;
};

}  // namespace hive
