#include "hive/user_content.h"

#include "hive/image/image.h"
#include "hive/image/image_file.h"
#include "hive/image/user_image.h"
#include "hive/store/meta.h"
#include "hive/store/schema.h"
#include "hive/tree_copy.h"

namespace hive {
namespace {

// Lines that come up while a hive's mutex is held; they are said when it is not.
thread_local std::vector<std::string>* held_lines = nullptr;

class Holding_Lines {
 public:
  explicit Holding_Lines(std::vector<std::string>& lines) { held_lines = &lines; }
  ~Holding_Lines() { held_lines = nullptr; }
  Holding_Lines(const Holding_Lines&) = delete;
  Holding_Lines& operator=(const Holding_Lines&) = delete;
};

void hold_line(const std::string& line) {
  if (held_lines != nullptr) held_lines->push_back(line);
}

// Takes an image into the hive's root; of one that was not finished nothing stays.
class Image_Sink : public Tree_Sink {
 public:
  explicit Image_Sink(Connection& connection) : connection_(connection), writer_(connection, root_key) {
    connection_.run_text("SAVEPOINT image");
  }
  ~Image_Sink() override {
    if (!finished_) connection_.run_text("ROLLBACK TO image");
    connection_.run_text("RELEASE image");
  }

  Status begin_key(const Key_Record& key) override { return writer_.begin_key(key); }
  Status value(const Value_Record& value) override { return writer_.value(value); }
  Status end_key() override { return writer_.end_key(); }
  Status finish(const Image_Head& head) override { return finish_with(set_base(connection_, head.self)); }

 protected:
  Status finish_with(Status status) {
    finished_ = status == Status::ok;
    return status;
  }

  Connection& connection_;

 private:
  Tree_Writer writer_;
  bool finished_ = false;
};

// What the hive holds is written beside the image's file, as an image too.
Status keep_local_changes(Connection& connection, const std::string& image_file) {
  Image_Writer writer;
  const Image_Head head = image_head(connection);
  if (Status status = walk_tree(connection, root_key, writer); status != Status::ok) return status;
  const std::string name = write_beside(image_file, "local", writer.finish(head));
  if (name.empty()) return Status::io_failed;
  hold_line(image_file + " and HKEY_CURRENT_USER were both changed; the file is taken, and what was here is kept as " +
            name);
  return Status::ok;
}

// Takes an image in the place of all that the hive holds.
class Import_Sink : public Image_Sink {
 public:
  Import_Sink(Connection& connection, const std::string& image_file, const Image_Head& expected)
      : Image_Sink(connection), image_file_(image_file), expected_(expected) {}

  // The first key comes only when the image is whole.
  Status begin_key(const Key_Record& key) override {
    if (!has_room_) {
      if (Status status = make_room(); status != Status::ok) return status;
    }
    has_room_ = true;
    return Image_Sink::begin_key(key);
  }

  // busy: another image than the one that was decided on stands there by now.
  Status finish(const Image_Head& head) override {
    if (!(head.self == expected_.self && head.base == expected_.base)) return Status::busy;
    return finish_with(note_import(connection_, head.self));
  }

 private:
  Status make_room() {
    const bool is_contained = expected_.base == image_head(connection_).self;
    if (changed_since_import(connection_) && !is_contained) {
      if (Status status = keep_local_changes(connection_, image_file_); status != Status::ok) return status;
    }
    connection_.run_text("DELETE FROM node WHERE NOT (key = 1 AND kind = 0)");
    return connection_.run_text("DELETE FROM large");
  }

  const std::string& image_file_;
  const Image_Head expected_;
  bool has_room_ = false;
};

Status take_image(Connection& connection, const std::string& image_file, Findings& findings) {
  bool restored = false;
  Holding_Lines holding(findings.lines);
  Image_Sink sink(connection);
  Status status = restore_user_image(image_file, sink, &hold_line, &restored);
  if (status != Status::ok) findings.reason = "its image " + image_file + " cannot be taken: " + text_of(status);
  return status;
}

Status read_head(const std::string& image_file, bool* out_is_empty, Image_Head* out_head) {
  std::vector<unsigned char> bytes;
  Image_Prologue prologue;
  Status status = read_image_head(image_file, &bytes);
  *out_is_empty = bytes.empty();
  if (status == Status::ok && !bytes.empty()) status = read_image_prologue(bytes, &prologue);
  *out_head = prologue.head;
  return status;
}

bool is_news(const Image_Head& ours, const Image_Head& theirs) {
  if (theirs.self.identity == ours.self.identity) return false;
  return theirs.self.identity != ours.base.identity || theirs.self.number > ours.base.number;
}

bool is_no_image(Status status) {
  return status == Status::damaged || status == Status::not_a_hive || status == Status::newer_version;
}

}  // namespace

bool user_is_incomplete(Connection& connection) { return meta_number(connection, "fresh") != 0; }

Status fill_user(Connection& connection, const std::string& image_file, Findings& findings) {
  Status status = image_file.empty() ? Status::ok : take_image(connection, image_file, findings);
  return status == Status::ok ? set_meta(connection, "fresh", 0) : status;
}

bool import_is_due(Connection& connection, const std::string& image_file) {
  if (image_file.empty()) return false;
  bool is_empty = true;
  Image_Head theirs;
  const Status status = read_head(image_file, &is_empty, &theirs);
  if (is_no_image(status)) return true;
  return status == Status::ok && !is_empty && is_news(image_head(connection), theirs);
}

// What stands in the way of the import is no reason to do without the hive.
Status import_user(Connection& connection, const std::string& image_file, Findings& findings) {
  bool is_empty = true;
  bool imported = false;
  Image_Head expected;
  Holding_Lines holding(findings.lines);
  read_head(image_file, &is_empty, &expected);
  Import_Sink sink(connection, image_file, expected);
  const Status status = restore_user_image(image_file, sink, &hold_line, &imported);
  if (status == Status::ok || status == Status::busy) return status;
  hold_line(image_file + " was changed elsewhere and cannot be taken: " + text_of(status));
  return connection.status();
}

}  // namespace hive
