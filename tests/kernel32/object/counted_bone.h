// A bone that records its end.
#ifndef KELVANE_TESTS_KERNEL32_OBJECT_COUNTED_BONE_H
#define KELVANE_TESTS_KERNEL32_OBJECT_COUNTED_BONE_H

#include <kelvane/bone.h>

#include <string>

namespace kvtest {

class Counted_Bone final : public Bone {
 public:
  // Its name is appended to the record when it is destroyed.
  Counted_Bone(std::string& record, char name) : record_(record), name_(name) {}
  ~Counted_Bone() override { record_ += name_; }

 private:
  std::string& record_;
  char name_;
};

}  // namespace kvtest

#endif
