// Texts as streams, and what the readers make of them as text.
#ifndef KELVANE_TESTS_PARSELIB_READING_H
#define KELVANE_TESTS_PARSELIB_READING_H

#include <kelvane/frames.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "tests/kernel32/object/written_text.h"

namespace kvtest {

// A text that comes in blocks as large as they are asked for, fails where it is told to, and remembers how much
// was taken after each block.
class Text_In final : public kvistream {
 public:
  explicit Text_In(std::string text, size_t fails_at = std::string::npos)
      : text_(std::move(text)), fails_at_(fails_at) {}

  size_t taken() const { return taken_; }
  // The sizes that were asked for, without the questions for the rest of a short block.
  const std::vector<size_t>& blocks() const { return blocks_; }

 private:
  ssize_t get(char* block, size_t size) override {
    if (!short_block_) blocks_.push_back(size);
    if (taken_ >= fails_at_) return -1;
    const size_t piece = std::min({size, text_.size() - taken_, fails_at_ - taken_});
    memcpy(block, text_.data() + taken_, piece);
    taken_ += piece;
    short_block_ = piece < size;
    return static_cast<ssize_t>(piece);
  }

  std::string text_;
  size_t fails_at_;
  size_t taken_ = 0;
  bool short_block_ = false;
  std::vector<size_t> blocks_;
};

struct Tree_Delete {
  void operator()(Bone* bone) const { Key_Val_Delete_Tree(bone); }
};
template <class T>
using Tree = std::unique_ptr<T, Tree_Delete>;

inline std::string shown(const Bone* bone);

inline std::string shown_slots(const Assoc& slots) {
  std::string text;
  Assoc_Iterator next(slots);
  while (const Association* slot = next.next()) text += (text.empty() ? "" : " ") + shown(slot);
  return "{" + text + "}";
}

inline std::string shown_elements(const Sequence& sequence) {
  std::string text;
  for (size_t i = 0; i < sequence.count(); ++i) text += (i == 0 ? "" : " ") + shown(sequence.at(i));
  return text;
}

// The object's kind and content: 5 2.5 name "text" <1 2> frame{slots}; slots as key=value, frame slots as key:frame.
inline std::string shown(const Bone* bone) {
  if (bone == nullptr) return "null";
  if (const auto* slot = dynamic_cast<const Frame_Association*>(bone)) {
    return std::string(slot->key()->text()) + ":" + shown(slot->value());
  }
  if (const auto* slot = dynamic_cast<const Association*>(bone)) {
    return std::string(slot->key()->text()) + "=" + shown(slot->value());
  }
  if (const auto* sequence = dynamic_cast<const Sequence*>(bone)) return "<" + shown_elements(*sequence) + ">";
  if (const auto* frame = dynamic_cast<const Frame*>(bone)) {
    return (frame->get_key() != nullptr ? frame->get_key()->text() : "nameless") + shown_slots(frame->slots());
  }
  if (const auto* text = dynamic_cast<const clString*>(bone)) return "\"" + std::string(text->text()) + "\"";
  return written(*bone);
}

// The name and the slots of the frame that the stream begins with.
inline std::string frame_read(kvistream& in, const Slot_Machine& machine = One_Arm_Bandit()) {
  clAtom* name = nullptr;
  const Tree<Sequence> slots(read_frame(in, machine, name));
  const Tree<clAtom> owned_name(name);
  if (slots == nullptr) return name == nullptr ? "null" : "null with a name";
  return std::string(name->text()) + "{" + shown_elements(*slots) + "}";
}

inline std::string frame_read(const std::string& text) {
  Text_In in(text);
  return frame_read(in);
}

inline std::string list_read(kvistream& in) { return shown(Tree<Sequence>(read_list(in)).get()); }

inline std::string list_read(const std::string& text) {
  Text_In in(text);
  return list_read(in);
}

inline std::string times(size_t count, const std::string& text) {
  std::string all;
  for (size_t i = 0; i < count; ++i) all += text;
  return all;
}

}  // namespace kvtest

#endif
