#include "tools/kvreg/walk.h"

#include <winerror.h>

#include "tools/kvreg/failure.h"
#include "tools/kvreg/terminal.h"

namespace kvreg {
namespace {

bool went_away(const Failure& failure) {
  return failure.code == ERROR_FILE_NOT_FOUND || failure.code == ERROR_KEY_DELETED;
}

void walk_from(const Key& key, const std::function<void(const Key&)>& visit);

void walk_child(const Key& key, std::u16string_view name, const std::function<void(const Key&)>& visit) {
  try {
    walk_from(key.open_child(name), visit);
  } catch (const Failure& failure) {
    if (!went_away(failure)) throw;
  }
}

void walk_from(const Key& key, const std::function<void(const Key&)>& visit) {
  stop_if_interrupted();
  visit(key);
  for (const std::u16string& name : key.sub_keys()) walk_child(key, name, visit);
}

}  // namespace

void walk(const Key_Path& path, bool is_deep, const std::function<void(const Key&)>& visit) {
  const Key key = Key::open(path);
  if (is_deep) {
    walk_from(key, visit);
  } else {
    visit(key);
  }
}

}  // namespace kvreg
