// Blankets and associations.
#include <kelvane/association.h>
#include <kelvane/stream.h>

Blanket::~Blanket() = default;

void Blanket::delete_tree() {
  if (value_ != nullptr) value_->delete_tree();
  delete this;
}

void Blanket::write(kvostream& stream) const { stream << value_; }

Association::~Association() = default;

void Association::delete_tree() {
  if (key_ != nullptr) key_->delete_tree();
  Blanket::delete_tree();
}

void Association::write(kvostream& stream) const { stream << '(' << key_ << ' ' << value_ << ')'; }
