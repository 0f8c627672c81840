// Images of the user's hive.
#include <unistd.h>
#include "hive/batch.h"

#include "hive/clock.h"
#include "hive/image/image.h"
#include "hive/image/image_file.h"
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

// The mark of the image in a file; no mark where there is none to be read.
Hive_Mark mark_in(const std::string& file) {
  std::vector<unsigned char> bytes;
  Image_Prologue prologue;
  const bool is_read = read_image_head(file, &bytes) == Status::ok && !bytes.empty() &&
                       read_image_prologue(bytes, &prologue) == Status::ok;
  return is_read ? prologue.head.self : Hive_Mark{};
}

// Whether an image of this hive stands in the file that the hive, as it is, never was or is behind: an earlier
// state of the hive was put back.
bool is_put_back(Connection& connection, const Hive_Mark& in_file) {
  const Hive_Mark own = image_head(connection).self;
  if (in_file.identity != own.identity) return false;
  return in_file.number > own.number || (in_file.number == own.number && meta_number(connection, "imaged") == 0);
}

// A hive that was put back gets a number above that of the file, whose image it shall replace on every host.
Status outrank(Hive& hive, const Hive_Mark& in_file) {
  bool put_back = false;
  const auto look = [&](Connection& connection) {
    put_back = is_put_back(connection, in_file);
    return connection.status();
  };
  if (Status status = hive.read(look); status != Status::ok || !put_back) return status;
  return hive.write_aside([&](Connection& connection) {
    if (!is_put_back(connection, in_file)) return Status::ok;
    return set_meta(connection, "number", static_cast<std::int64_t>(in_file.number) + 1);
  });
}

// An image of a key of the users' hive counts for no hive: whoever imports it takes all of it, each time.
class User_Key_Source : public Tree_Source {
 public:
  explicit User_Key_Source(const Key& key) : key_(key) {}

  Status walk(Image_Head* out_head, Tree_Visitor& visitor) override {
    return key_->hive->read([&](Connection& connection) {
      if (walked_) return Status::io_failed;
      walked_ = true;
      *out_head = {};
      out_head->self.identity = connection.identity;
      out_head->self.identity[0] ^= static_cast<unsigned char>(key_->number);
      out_head->self.number = file_time_now();
      return walk_tree(connection, key_->number, visitor);
    });
  }

 private:
  const Key key_;
  bool walked_ = false;
};

}  // namespace

Status Registry::image_of_user(uid_t user, gid_t group, std::vector<unsigned char>* out_image) {
  out_image->clear();
  if (parts_->hives.users() == nullptr) return user == geteuid() ? user_image(out_image) : Status::denied;
  Key key;
  const Status status = parts_->user_key(user, group, &key);
  if (status != Status::ok) return status;
  User_Key_Source source(key);
  return make_user_image(source, out_image);
}

Status Registry::user_image(std::vector<unsigned char>* out_image) {
  out_image->clear();
  if (Batch::of_thread() != nullptr) return Status::in_batch;
  std::shared_ptr<Hive> user = parts_->hives.user();
  if (user == nullptr) return Status::io_failed;
  const Hive_Mark in_file = mark_in(parts_->hives.user_image_file());
  if (Status status = outrank(*user, in_file); status != Status::ok) return status;
  Hive_Source source(*user);
  return make_user_image(source, out_image);
}

// Nothing is kept of a batch that the end of the process has interrupted.
//
// A process that never used the user's hive has nothing to say of it, nor has a hive that was never changed, or
// not since it was imported from what the file still holds. Who has changed nothing believes what the file says of
// itself: whether all of it is whole is asked by who changes something, and by who imports it.
Status Registry::closing_user_image(std::vector<unsigned char>* out_image) {
  out_image->clear();
  Batch::lose_all();
  Batch::abandon();
  std::shared_ptr<Hive> user = parts_->hives.user_if_used();
  if (user == nullptr || user->is_private()) return Status::ok;
  const Hive_Mark in_file = mark_in(parts_->hives.user_image_file());
  Image_Head head;
  bool changed = false;
  Status status = outrank(*user, in_file);
  if (status != Status::ok) return status;
  status = user->read([&](Connection& connection) {
    head = image_head(connection);
    changed = changed_since_import(connection);
    return connection.status();
  });
  if (status != Status::ok || head.self.number == 0) return status;
  const Look look = user->has_written() ? Look::at_whole : Look::at_head;
  if (!changed && carries_image(parts_->hives.user_image_file(), head.base, look)) return Status::ok;
  Hive_Source source(*user);
  return make_closing_user_image(source, head.self, user->path(), parts_->hives.user_image_file(), look, out_image);
}

}  // namespace hive
