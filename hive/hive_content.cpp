#include "hive/hive_content.h"

#include "hive/clock.h"
#include "hive/image/user_image.h"
#include "hive/keys.h"
#include "hive/name.h"
#include "hive/store/meta.h"
#include "hive/store/schema.h"
#include "hive/tree_copy.h"

namespace hive {
namespace {

constexpr std::string_view default_user_name = ".DEFAULT";

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
  Status finish(const Image_Head& head) override {
    Status status = set_base(connection_, head.self);
    finished_ = status == Status::ok;
    return status;
  }

 private:
  Connection& connection_;
  Tree_Writer writer_;
  bool finished_ = false;
};

Status take_image(Connection& connection, const std::string& image_file, Findings& findings) {
  bool restored = false;
  Holding_Lines holding(findings.lines);
  Image_Sink sink(connection);
  Status status = restore_user_image(image_file, sink, &hold_line, &restored);
  if (status != Status::ok) findings.reason = "its image " + image_file + " cannot be taken: " + text_of(status);
  return status;
}

}  // namespace

bool machine_is_incomplete(Connection& connection) { return check_key(connection, users_key) == Status::key_deleted; }

Status fill_machine(Connection& connection, Findings&) {
  Key_Row root;
  Status status = read_key(connection, root_key, &root);
  if (status != Status::ok) return connection.failed_or(Status::damaged);
  std::uint64_t now = file_time_now();
  std::string folded = folded_form(units_of(default_user_name));
  insert_key_as(connection, users_key, {0, "", "", "", now, root.mode, root.owner, root.group, 0, false});
  insert_key_as(connection, default_user_key,
                {users_key, default_user_name, folded, "", now, root.mode, root.owner, root.group, 0, false});
  count_children_anew(connection, users_key);
  return set_meta(connection, "fresh", 0);
}

bool user_is_incomplete(Connection& connection) { return meta_number(connection, "fresh") != 0; }

Status fill_user(Connection& connection, const std::string& image_file, Findings& findings) {
  Status status = image_file.empty() ? Status::ok : take_image(connection, image_file, findings);
  return status == Status::ok ? set_meta(connection, "fresh", 0) : status;
}

}  // namespace hive
