// Sets of associations.
#include <kelvane/association.h>
#include <kelvane/stream.h>

namespace {

class Association_Elements final : public Elem_Methods {
 public:
  const void* key(const void* element) const override { return static_cast<const Association*>(element)->key(); }
};

constexpr Association_Elements association_elements;

}  // namespace

Assoc::Assoc() : set_(nullptr) {}

Assoc::~Assoc() { delete set_; }

void Assoc::initiate(const Set_Desc& descriptor, const Key_Methods& keys) {
  delete set_;
  set_ = nullptr;
  set_ = descriptor(association_elements, keys);
}

Association* Assoc::insert(Association* element, bool replace) {
  return static_cast<Association*>(set_->insert(element, replace));
}

Association* Assoc::lookup(const clAtom& key) const {
  return set_ != nullptr ? static_cast<Association*>(set_->lookup(&key)) : nullptr;
}

Association* Assoc::remove(const clAtom& key) {
  return set_ != nullptr ? static_cast<Association*>(set_->remove(&key)) : nullptr;
}

bool Assoc::is_empty() const { return count() == 0; }

size_t Assoc::count() const { return set_ != nullptr ? set_->count() : 0; }

void Assoc::apply(const Proc_Context& procedure) const {
  Assoc_Iterator associations(*this);
  while (Association* association = associations.next()) procedure(association);
}

void Assoc::write(kvostream& stream) const {
  const char* between = "";
  Assoc_Iterator associations(*this);
  while (const Association* association = associations.next()) {
    stream << between << association;
    between = " ";
  }
}

void Assoc::print(kvostream& stream, const char* indent, const char* separator) const {
  Assoc_Iterator associations(*this);
  while (const Association* association = associations.next()) stream << indent << association << separator;
}

Association* Assoc_Iterator::next() {
  const Keyed_Set* set = associations_.set_;
  while (set != nullptr && position_ < set->positions()) {
    void* element = set->at(position_++);
    if (element != nullptr) return static_cast<Association*>(element);
  }
  return nullptr;
}
