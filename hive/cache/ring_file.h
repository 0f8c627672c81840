// The file beside a hive, `<hive>-ring`, whose memory is the ring of told commits. It has the hive's owner, group and
// mode: who may write the one may tell in the other, and nobody else. One that has another owner, more than one name
// or another form is left alone. Without one nothing is told, and nobody sees anything wrong.
//
// What is mapped stays whatever becomes of the file; before each use the file is looked at, for memory of a file that
// was cut short must not be touched. Whether its name still stands for it is asked now and then. The file may go at any
// time.
#pragma once

#include <sys/stat.h>

#include <memory>
#include <string>

#include "hive/cache/commit_ring.h"
#include "hive/store/system_calls.h"

namespace hive {

class Ring_File {
 public:
  ~Ring_File() { let_go(); }

  // Beside which hive. Nothing is opened yet.
  void move_to(const std::string& hive_file);
  // Until it is used next.
  void let_go();

  // Null when there is none. The second makes one. Good until the next call.
  const Commit_Ring* to_read();
  Commit_Ring* to_tell();

 private:
  bool still_stands();
  bool is_as_mapped(const struct stat& now) const;
  void open(bool make);
  int find(const struct stat& hive, bool make);
  void map(int fd, const struct stat& hive, bool make);

  std::string hive_file_;
  std::string file_;
  File_Identity mapped_;
  std::unique_ptr<Commit_Ring> ring_;
  void* memory_ = nullptr;
  int fd_ = -1;
  unsigned looks_at_descriptor_ = 0;  // since its name was asked
  bool may_tell_ = false;
  unsigned tries_to_pass_over_ = 0;  // of making one, since it failed
};

}  // namespace hive
