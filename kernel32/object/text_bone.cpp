// The text that atoms and strings own: a short one stands in the object itself.
#include <kelvane/atom.h>
#include <string.h>

#include "kernel32/object/zeroed_block.h"

Text_Bone::Text_Bone(const char* text) : text_(short_text_) {
  const size_t length = text != nullptr ? strlen(text) : 0;
  if (length >= sizeof short_text_) text_ = new_text(length + 1);
  if (length > 0) memcpy(text_, text, length);
  text_[length] = '\0';
}

Text_Bone::Text_Bone(const Text_Bone& other) : Text_Bone(other.text_) {}

Text_Bone::~Text_Bone() {
  if (text_ != short_text_) free_block(text_);
}

char* Text_Bone::new_text(size_t size) { return static_cast<char*>(new_zeroed_block(size)); }
