// Images of the user's hive.
#include "hive/image/user_image.h"
#include "hive/registry.h"
#include "hive/registry_parts.h"
#include "hive/store/meta.h"
#include "hive/store/schema.h"
#include "hive/tree_copy.h"

namespace hive {
namespace {

class Hive_Source : public Tree_Source {
 public:
  explicit Hive_Source(Hive& hive) : hive_(hive) {}

  Status walk(Image_Head* out_head, Tree_Visitor& visitor) override {
    return hive_.write_aside([&](Connection& connection) {
      // The visitor cannot take a tree back: a second attempt is refused.
      if (walked_) return Status::io_failed;
      walked_ = true;
      *out_head = image_head(connection);
      Status status = walk_tree(connection, root_key, visitor);
      return status == Status::ok ? note_image(connection) : status;
    });
  }

 private:
  Hive& hive_;
  bool walked_ = false;
};

}  // namespace

Status Registry::user_image(std::vector<unsigned char>* out_image) {
  out_image->clear();
  std::shared_ptr<Hive> user = parts_->hives.user();
  if (user == nullptr) return Status::io_failed;
  Hive_Source source(*user);
  return make_user_image(source, out_image);
}

// A process that never used the user's hive has nothing to say of it, nor has a hive that was never changed, or
// not since it was imported from what the file still holds.
Status Registry::closing_user_image(std::vector<unsigned char>* out_image) {
  out_image->clear();
  std::shared_ptr<Hive> user = parts_->hives.user_if_used();
  if (user == nullptr || user->is_private()) return Status::ok;
  Image_Head head;
  bool changed = false;
  Status status = user->read([&](Connection& connection) {
    head = image_head(connection);
    changed = changed_since_import(connection);
    return connection.status();
  });
  if (status != Status::ok || head.self.number == 0) return status;
  if (!changed && carries_image(parts_->hives.user_image_file(), head.base)) return Status::ok;
  Hive_Source source(*user);
  return make_closing_user_image(source, head.self, user->path(), parts_->hives.user_image_file(), out_image);
}

}  // namespace hive
