// Makes the image of the live user hive, and takes one into a fresh live hive.
#include "hive/image/user_image.h"

#include "hive/image/image.h"
#include "hive/image/image_file.h"

namespace hive {
namespace {

constexpr int closing_wait_ms = 10000;

Status make_image(Tree_Source& source, Image_Head* out_head, std::vector<unsigned char>* out_image) {
  Image_Writer writer;
  if (Status status = source.walk(out_head, writer); status != Status::ok) return status;
  *out_image = writer.finish(*out_head);
  return Status::ok;
}

// Moves a file that holds no image for us out of the way of the next one.
Status put_away(const std::string& file, Status why, Complain complain) {
  const bool newer = why == Status::newer_version;
  const std::string reason = newer                       ? " was written by a later version"
                             : why == Status::not_a_hive ? " is not an image of a user hive"
                                                         : " is damaged";
  const std::string name = set_aside(file, newer ? "newer" : "damaged");
  if (name.empty()) {
    complain(file + reason + " and cannot be renamed; HKEY_CURRENT_USER starts without it");
  } else {
    complain(file + reason + "; it is kept as " + name + ", and HKEY_CURRENT_USER starts without it");
  }
  return Status::ok;
}

bool is_unusable(Status status) {
  return status == Status::damaged || status == Status::not_a_hive || status == Status::newer_version;
}

Status read_into(const std::vector<unsigned char>& image, Tree_Sink& sink, bool* out_restored) {
  Image_Head head;
  if (Status status = read_image(image, &head, sink); status != Status::ok) return status;
  if (Status status = sink.finish(head); status != Status::ok) return status;
  *out_restored = true;
  return Status::ok;
}

}  // namespace

Status make_user_image(Tree_Source& source, std::vector<unsigned char>* out_image) {
  Image_Head head;
  return make_image(source, &head, out_image);
}

bool carries_image(const std::string& image_file, const Hive_Mark& mark, Look look) {
  std::vector<unsigned char> bytes;
  Image_Prologue prologue;
  // The head alone tells an older image, without a hash over all of it.
  const bool is_of_mark = read_image_head(image_file, &bytes) == Status::ok &&
                          read_image_prologue(bytes, &prologue) == Status::ok && prologue.head.self == mark;
  if (!is_of_mark || look == Look::at_head) return is_of_mark;
  return read_image_file(image_file, &bytes) == Status::ok && check_image(bytes, &prologue) == Status::ok &&
         prologue.head.self == mark;
}

Status make_closing_user_image(Tree_Source& source, const Hive_Mark& current, const std::string& live_hive,
                               const std::string& image_file, Look look, std::vector<unsigned char>* out_image) {
  out_image->clear();
  if (live_hive.empty() || carries_image(image_file, current, look)) return Status::ok;
  if (!lock_for_ever(live_hive + ".image-lock", closing_wait_ms)) return Status::busy;
  Image_Head head;
  if (Status status = make_image(source, &head, out_image); status != Status::ok) return status;
  // Written by another process while this one waited.
  if (carries_image(image_file, head.self, Look::at_whole)) out_image->clear();
  return Status::ok;
}

Status restore_user_image(const std::string& image_file, Tree_Sink& sink, Complain complain, bool* out_restored) {
  *out_restored = false;
  std::vector<unsigned char> image;
  Status status = read_image_file(image_file, &image);
  if (status == Status::ok && image.empty()) return Status::ok;
  if (status == Status::ok) status = read_into(image, sink, out_restored);
  return is_unusable(status) ? put_away(image_file, status, complain) : status;
}

}  // namespace hive
