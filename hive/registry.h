// The face of the registry's storage: keys, values, roots, images. Knows no handles, no table and no wire;
// what stands in front of it maps handles to Keys and Statuses to codes.
//
// Names and paths are 16-bit units without terminator. Look-up ignores case, what is stored keeps it. A path
// is parts between backslashes; empty parts are skipped. Value data is the bytes of the stored form.
//
// Any thread may call anything at any time. Nothing here throws but std::bad_alloc.
#pragma once

#include <sys/types.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hive/fault.h"
#include "hive/status.h"
#include "hive/watch/watch.h"

namespace hive {

inline constexpr std::size_t max_key_name_units = 256;
inline constexpr std::size_t max_value_name_units = 16383;
inline constexpr std::uint32_t max_value_size = 64u * 1024 * 1024;

enum class Root { machine, current_user, users, classes, current_config, performance };

// Where the hives lie, asked once for each at its first use (each may print and end the process, as the
// locations' own rules say). An empty path stands for "there is none": the hive is then private to the
// process and lasts as long as it.
class Locations {
 public:
  virtual ~Locations() = default;
  virtual std::string machine_hive() = 0;
  virtual std::string user_hive() = 0;   // the live hive of HKEY_CURRENT_USER, in the core data directory
  virtual std::string user_image() = 0;  // the per-user file that images are made for
  virtual mode_t machine_mask() = 0;     // file-creation mask of the machine hive's files
  // Whether one hive serves all users of the machine: each has a key in it, named by his SID, and HKEY_USERS shows
  // these. Always the same answer, without a question to anybody; and then where it lies.
  virtual bool serves_all_users() { return false; }
  virtual std::string users_hive() { return {}; }
};

// One line about a hive that cannot be used, without newline: the file and the reason.
using Complain = void (*)(const std::string& line);

class Read_Section;
class Open_Key;  // which key of which hive, with its places of enumeration; shared by its users
using Key = std::shared_ptr<Open_Key>;

struct Key_Counts {
  std::uint32_t sub_keys;
  std::uint32_t max_sub_key_units;
  std::uint32_t max_class_units;
  std::uint32_t values;
  std::uint32_t max_value_name_units;
  std::uint32_t max_value_size;
  std::uint64_t last_write_time;  // 100 ns since 1601
};

// Where a name or a class goes: room in units, terminator included; length without it. A null text asks for
// the length only.
struct Text_Out {
  char16_t* text;
  std::size_t room;
  std::size_t length;
};

// Where a value goes. Null data asks for type and size only. With more_data type and size are set and data
// is untouched.
struct Value_Out {
  unsigned char* data;
  std::uint32_t room;
  std::uint32_t size;
  std::uint32_t type;
};

struct Creation {
  std::u16string_view class_name;
  bool is_volatile = false;
  bool is_link = false;
  std::optional<std::uint32_t> owner = std::nullopt;  // of each key that is made; else its parent's
  std::optional<std::uint32_t> group = std::nullopt;
  std::optional<std::uint32_t> mode = std::nullopt;
};

// The hive's identity and the key's number in it, which is given once.
using Key_Identity = std::array<unsigned char, 24>;

struct Key_Rights {
  std::uint32_t mode;  // Unix permission bits
  std::uint32_t owner;
  std::uint32_t group;
};

// How a batch ended in one hive: not_tried when an earlier one had failed.
struct Batch_Result {
  Root root;         // machine, current_user, or users for the hive of all users
  std::string file;  // empty: private to the process
  Status status;
};

// Operations are virtual so that a library which has no store of its own may use that of another one in the process.
class Registry {
 public:
  // Opens no file: each hive is opened at its first use.
  Registry(std::unique_ptr<Locations> locations, Complain complain);
  virtual ~Registry();
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  virtual Status open_root(Root root, Key* out_key);
  // The key of a user: where one hive serves all users, that of the user in it, made at its first use, the user's
  // alone and of this group; else HKEY_CURRENT_USER, for this process's user only (denied).
  virtual Status open_user(uid_t user, gid_t group, Key* out_key);
  // Which key it is, among those of every hive and every time.
  virtual Status identity(const Key& key, Key_Identity* out);
  virtual Status open(const Key& at, std::u16string_view path, Key* out_key);
  // Makes what is missing of the path; *out_created tells whether its last part was. An empty path is the key
  // itself. At most 512 keys deep, with classes up to 16,383 units: else invalid.
  virtual Status create(const Key& at, std::u16string_view path, const Creation& creation, Key* out_key,
                        bool* out_created);
  virtual Status remove(const Key& at, std::u16string_view path);
  // Another name for the key at a path, in place: it keeps its handles. exists: its parent has another key of the name;
  // invalid: no name of a key; denied: a root, or directly below HKEY_USERS.
  virtual Status rename(const Key& at, std::u16string_view path, std::u16string_view name);

  virtual Status enumerate_key(const Key& key, std::uint32_t index, Text_Out& name, Text_Out* class_name,
                               std::uint64_t* out_last_write_time);
  // When only the name has no room the value is still delivered, and the answer is more_data. A null name
  // asks for the value only.
  virtual Status enumerate_value(const Key& key, std::uint32_t index, Text_Out* name, Value_Out& value);
  virtual Status info(const Key& key, Text_Out* class_name, Key_Counts* out_counts);

  virtual Status read_value(const Key& key, std::u16string_view name, Value_Out& value);
  // The same from memory alone, for who is in a section already; nothing when memory cannot tell.
  static std::optional<Status> known_value(const Read_Section& section, const Open_Key& key, std::u16string_view name,
                                           Value_Out& value);
  virtual Status write_value(const Key& key, std::u16string_view name, std::uint32_t type, const unsigned char* data,
                             std::uint32_t size);
  virtual Status remove_value(const Key& key, std::u16string_view name);

  virtual Status rights(const Key& key, Key_Rights* out_rights);
  virtual Status set_rights(const Key& key, const std::uint32_t* mode, const std::uint32_t* owner,
                            const std::uint32_t* group);

  // Durable on the disk: everything written to the key's hive so far.
  virtual Status flush(const Key& key);
  // Tells the target once of the next change of the key, or with subtree also of the keys below it, in one of the ways
  // of the filter; or when the key is removed or the last reference to this Key goes. What has changed since the last
  // call for this Key was told is told at once. At most about a second late when the process that made the change was
  // killed. unsupported where nothing ever changes.
  virtual Status watch(const Key& key, bool subtree, Ways filter, std::shared_ptr<Watch_Target> target);
  // The key's handle is closed, whoever still looks at it: who waits for changes is told.
  virtual void end_watches(const Key& key);
  // The key and all below it as a new hive file; the file must not stand.
  virtual Status save(const Key& key, const std::string& file);
  // A hive file, such as a saved key or a backup, in the place of the key at a path, which is made when missing: all
  // that the key is and has is replaced by what the file's root is and has, or nothing is. The key keeps its handles,
  // those to keys below it are gone. The file is only read. not_found: no such file; damaged, not_a_hive,
  // newer_version, denied: of the file; busy: also a hive that is in use here; invalid: it would be too deep;
  // must_be_volatile: the key is volatile.
  virtual Status load(const Key& at, std::u16string_view path, const std::string& file);
  // Removes the key at a path that load has made, with all below it. invalid: it was not made so; denied: a root.
  virtual Status unload(const Key& at, std::u16string_view path);
  // Looks the key's hive through, or a hive file that is not in use here; what is wrong is told, nothing changed. What
  // the hive holds is counted where its structure is good, if anybody asks.
  virtual Status check(const Key& key, std::vector<Found_Fault>* out, Hive_Counts* out_counts = nullptr);
  virtual Status check_file(const std::string& file, std::vector<Found_Fault>* out, Hive_Counts* out_counts = nullptr);
  // Every hive that is open or stands, consistent, into a folder (made when missing): "machine.hive" and
  // "user.hive", or "users.hive" where one serves all users, each a hive file that can be put in the place of the one
  // it was copied from. A path that is no folder: exists.
  virtual Status backup(const std::string& path);
  // The image of HKEY_CURRENT_USER; see hive/image/.
  virtual Status user_image(std::vector<unsigned char>* out_image);
  // That of any user's key, as open_user finds it.
  virtual Status image_of_user(uid_t user, gid_t group, std::vector<unsigned char>* out_image);
  // The same for the end of the process: empty when the per-user file already carries it.
  virtual Status closing_user_image(std::vector<unsigned char>* out_image);
  // The calling thread's batch: all that it changes in between is one transaction of each hive touched; see batch.h.
  // in_batch, of begin_batch and of what cannot be done in a batch: watching and images. commit_batch tells each hive
  // that was touched; no_batch, batch_lost, or the status of the first that failed.
  virtual Status begin_batch();
  virtual Status commit_batch(std::vector<Batch_Result>* out);
  virtual Status abandon_batch();
  // How long the calling thread's operations wait for whoever else has a hive before they answer busy: five seconds as
  // long as nothing else is said.
  virtual void set_patience(std::chrono::milliseconds patience);

  // A number that is another one whenever the key's hive was changed by somebody else, and sometimes without that; 0
  // when memory does not know the hive as it is now, which the next read may change.
  virtual std::uint64_t known_state(const Key& key);

  // The process ends as it should: the next one to open its hives need not look them through.
  virtual void note_orderly_end();

 private:
  Status make(const Key& at, std::u16string_view path, const Creation& creation, Key* out_key, bool* out_created);

  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace hive
