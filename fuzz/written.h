// What an object writes, as text.
#ifndef KELVANE_FUZZ_WRITTEN_H
#define KELVANE_FUZZ_WRITTEN_H

#include <kelvane/bone.h>
#include <kelvane/stream.h>

#include <string>

class Text_Out final : public kvostream {
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
  Text_Out out;
  bone.write(out);
  return out.text();
}

#endif
