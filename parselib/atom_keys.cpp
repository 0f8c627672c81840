#include "parselib/atom_keys.h"

#include <kelvane/atom.h>

inline namespace kelvane {
namespace {

template <class Key>
class default_key_methods;

template <>
class default_key_methods<clAtom*> final : public Key_Methods {
 public:
  int compare(const void* first, const void* second) const override { return atom_cmp(text(first), text(second)); }
  unsigned hash(const void* key) const override { return atom_hash(text(key)); }

 private:
  static const char* text(const void* key) { return key != nullptr ? static_cast<const clAtom*>(key)->text() : ""; }
};

constexpr default_key_methods<clAtom*> methods;

}  // namespace

const Key_Methods& atom_keys() { return methods; }

}  // namespace kelvane
