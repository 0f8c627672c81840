/* Atoms and strings: the text objects of frames and lists. */
#ifndef KELVANE_ATOM_H
#define KELVANE_ATOM_H

#include <kelvane/bone.h>

inline namespace kelvane {

/* What atoms and strings share: a text of their own, never null. */
class KV_EXPORT Text_Bone : public Bone {
 public:
  ~Text_Bone() override;
  Text_Bone& operator=(const Text_Bone&) = delete;

  const char* text() const { return text_; }

 protected:
  /* A block from new_text, which the object takes over. */
  struct Owned {
    char* text;
  };
  explicit Text_Bone(Owned owned) : text_(owned.text) {}
  explicit Text_Bone(const char* text); /* a copy; null is copied as "" */
  Text_Bone(const Text_Bone& other);

  static char* new_text(size_t size); /* zeroed, from the base library's heap */

 private:
  char* text_; /* a block of its own, or short_text_ */
  char short_text_[24];
};

/* A name. Writes itself bare. */
class KV_EXPORT clAtom final : public Text_Bone {
 public:
  explicit clAtom(const char* text);
  clAtom(const clAtom& other);
  ~clAtom() override;

  bool is_atom() const override;
  void write(kvostream& stream) const override;
};

/*
 * A quoted text. Writes itself in double quotes. Readers keep a backslash before a quote as content and know
 * no other escape, so what they have read is written back exactly; what they could not have read is bent to
 * stay readable: a bare quote gets a backslash and a newline becomes a blank. Behind a string that ends with a
 * backslash stands a newline, because a further quote on the line would draw it on.
 */
class KV_EXPORT clString : public Text_Bone {
 public:
  /* A zeroed array of size bytes that a clString can own; and a clString made of such an array, which it takes
   * over with the terminated text in it. */
  static char* allocate(size_t size) { return new_text(size); }
  static clString* adopt(char* owned);

  explicit clString(const char* text);
  clString(const clString& other);
  ~clString() override;

  void write(kvostream& stream) const override;

 protected:
  explicit clString(Owned owned) : Text_Bone(owned) {}
};

/* Two texts joined; null is "". */
class KV_EXPORT Concat_Strings final : public clString {
 public:
  Concat_Strings(const char* first, const char* second);
  ~Concat_Strings() override;
};

/* Compares as strcmp, upper and lower case apart: -1, 0 or 1. */
KV_EXPORT int atom_cmp(const char* first, const char* second);

/* Equal texts have equal hashes, the same in every process. */
KV_EXPORT unsigned atom_hash(const char* text);

}  // namespace kelvane

#endif
