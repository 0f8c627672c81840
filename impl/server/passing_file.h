// Files that lie in the data folder for as long as they are made or read.
#pragma once

#include <windef.h>

#include <string>

#include "impl/wire/fields.h"
#include "impl/wire/unique_fd.h"

namespace impl::server {

// A folder of its own for one job; it goes with what was named in it.
class Passing_Folder {
 public:
  explicit Passing_Folder(const std::string& data_folder);
  ~Passing_Folder();
  Passing_Folder(const Passing_Folder&) = delete;
  Passing_Folder& operator=(const Passing_Folder&) = delete;

  // False with errno.
  bool is_made() const { return !path_.empty(); }
  const std::string& path() const { return path_; }

  std::string file(const std::string& name) const { return path_ + "/" + name; }
  // The file, for reading, without its name; none when there is no such file.
  wire::Unique_Fd take(const std::string& name) const;
  // Makes a file with these bytes; 0 or errno.
  int put(const std::string& name, wire::Bytes bytes) const;

 private:
  std::string path_;
};

// What is told of such a file that cannot be made or read.
DWORD code_of_errno(int error);

}  // namespace impl::server
