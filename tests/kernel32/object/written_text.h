// What objects write, as text.
#ifndef KELVANE_TESTS_KERNEL32_OBJECT_WRITTEN_TEXT_H
#define KELVANE_TESTS_KERNEL32_OBJECT_WRITTEN_TEXT_H

#include <kelvane/bone.h>
#include <kelvane/stream.h>

#include <string>

namespace kvtest {

class Text_Stream final : public kvostream {
 public:
  const std::string& text() {
    flush();
    return text_;
  }

 private:
  bool put(const char* bytes, size_t size) override {
    text_.append(bytes, size);
    return true;
  }

  std::string text_;
};

inline std::string written(const Bone& bone) {
  Text_Stream stream;
  bone.write(stream);
  return stream.text();
}

}  // namespace kvtest

#endif
