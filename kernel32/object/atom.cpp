// Atoms, and how their texts are compared.
#include <kelvane/atom.h>
#include <kelvane/stream.h>
#include <string.h>

namespace {

constexpr unsigned hash_start = 2166136261u;
constexpr unsigned hash_factor = 16777619u;

}  // namespace

clAtom::clAtom(const char* text) : Text_Bone(text) {}

clAtom::clAtom(const clAtom& other) = default;

clAtom::~clAtom() = default;

bool clAtom::is_atom() const { return true; }

void clAtom::write(kvostream& stream) const { stream << text(); }

int kelvane::atom_cmp(const char* first, const char* second) {
  int order = strcmp(first, second);
  return (order > 0) - (order < 0);
}

unsigned kelvane::atom_hash(const char* text) {
  unsigned hash = hash_start;
  for (; *text != '\0'; ++text) hash = (hash ^ static_cast<unsigned char>(*text)) * hash_factor;
  return hash;
}
