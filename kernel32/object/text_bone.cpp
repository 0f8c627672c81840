// The text that atoms and strings own.
#include <kelvane/atom.h>
#include <string.h>

#include "kernel32/object/zeroed_block.h"

Text_Bone::Text_Bone(const Text_Bone& other) : Bone(other), text_(copy_text(other.text_)) {}

Text_Bone::~Text_Bone() { free_block(text_); }

char* Text_Bone::new_text(size_t size) { return static_cast<char*>(new_zeroed_block(size)); }

char* Text_Bone::copy_text(const char* text) {
  size_t length = text != nullptr ? strlen(text) : 0;
  char* copy = new_text(length + 1);
  if (length > 0) memcpy(copy, text, length);
  return copy;
}
