// A file that appears whole or not at all: it is written beside its place and moved there when all of it is on the
// disk. What is no regular file, such as a pipe or /dev/stdout, is written directly.
#pragma once

#include <string>
#include <string_view>

namespace kvreg {

class New_File {
 public:
  // Throws Complaint when it cannot be made. A file that stands keeps its mode; a link leads to the file it names.
  explicit New_File(const std::string& path);
  // Removes what was not kept.
  ~New_File();
  New_File(const New_File&) = delete;
  New_File& operator=(const New_File&) = delete;

  void write(std::string_view bytes);
  void keep();

 private:
  [[noreturn]] void fail(const char* doing) const;

  std::string path_;
  std::string written_path_;  // empty when the file is written directly
  int descriptor_ = -1;
};

// Whether something stands there.
bool is_there(const std::string& file);
// A name beside the file that nothing has.
std::string name_beside(const std::string& file);
// The content, "-" for standard input; throws Complaint, also for more than 2 GiB.
std::string read_whole_file(const std::string& file);

}  // namespace kvreg
