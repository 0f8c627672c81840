// The fixture of the tests of COM permissions: the recording implementation library as a registry whose one key has
// the values that a test puts there, and which fails on cue.
#ifndef KELVANE_TESTS_SECURITY_COM_TEST_H
#define KELVANE_TESTS_SECURITY_COM_TEST_H

#include <kelvane/security.h>

#include <utility>
#include <vector>

#include "tests/registry/fronts.h"
#include "tests/security/guarded.h"

namespace kvtest {

// As stored: users 500 and 501, group 100, no lists.
inline const char* const stored_500_501 =
    "01 00 80 00 00*4  00 00 00 28 00*4  00 00 00 38 00*4  00*8  00*8 "
    "01 02 00*6 00 00 01 f4 00 00 01 f5  01 01 00*6 00 00 00 64";
// Everybody, as it is stored by an edit, and as a new descriptor is.
inline const char* const stored_everybody =
    "01 00 80 00 00*4  00 00 00 28 00*4  00 00 00 34 00*4  00*8  00*8  01 01 00*6 ff*4  01 01 00*6 ff*4";
inline const char* const new_everybody =
    "01 00 00 00 00*4  00 00 00 28 00*4  00 00 00 34 00*4  00*8  00*8  00 01 00*6 ff*4  00 01 00*6 ff*4  00*2012";

// An edit's descriptor with these users and groups as it is stored; each is eight hexadecimal digits.
inline std::string stored(const std::vector<std::string>& users, const std::vector<std::string>& groups) {
  const auto number = [](std::size_t value) { return std::string(1, static_cast<char>(value)); };
  std::string value = bytes("01 00 80 00 00*4  00 00 00 28 00*4  00 00 00") + number(48 + 4 * users.size()) +
                      bytes("00*4 00*16 01") + number(users.size()) + bytes("00*6");
  for (const std::string& id : users) value += bytes(id);
  value += bytes("01") + number(groups.size()) + bytes("00*6");
  for (const std::string& id : groups) value += bytes(id);
  return value;
}

class Com_Permissions : public Fronts {
 protected:
  Com_Permissions() { recording.script("KvIRegOpenKeyEx", answer_key(key)); }

  // A test says what the last error is in the end.
  void TearDown() override { EXPECT_EQ(recording.waiting(), 0u); }

  // The next value that is asked for has these bytes, or gives a code.
  void answer_stored(const std::string& value, DWORD type = REG_BINARY) {
    if (value.size() > 256) {
      recording.script("KvIRegQueryValueEx",
                       answer_value_size(ERROR_MORE_DATA, type, static_cast<DWORD>(value.size())));
    }
    recording.script("KvIRegQueryValueEx", answer_value(0, type, value));
  }
  void answer_missing(std::uint64_t code = ERROR_FILE_NOT_FOUND) {
    recording.script("KvIRegQueryValueEx", answer(code));
  }
  // The next value is stored, or refused with a code.
  void answer_set(std::uint64_t code = 0) { recording.script("KvIRegSetValueEx", answer(code)); }

  BOOL add(std::vector<DWORD> users, std::vector<DWORD> groups, DWORD which = 1, DWORD mode = 2) {
    return edit(KvSecDescAddPrincipal, users, groups, which, mode);
  }
  BOOL remove(std::vector<DWORD> users, std::vector<DWORD> groups, DWORD which = 1, DWORD mode = 2) {
    return edit(KvSecDescRemovePrincipal, users, groups, which, mode);
  }

  // What was written, in order: the value's name and its bytes.
  std::vector<std::pair<std::u16string, std::string>> written() const {
    std::vector<std::pair<std::u16string, std::string>> sets;
    for (const Call& call : recording.calls()) {
      if (call.entry != "KvIRegSetValueEx") continue;
      EXPECT_EQ(call.raw("type"), 3u);
      EXPECT_EQ(call.raw("reserved"), 0u);
      sets.emplace_back(call["value_name"].text, call["data"].bytes);
    }
    return sets;
  }
  // The bytes of the one value that was written.
  std::string written_once() const {
    const auto sets = written();
    if (sets.size() != 1) throw std::runtime_error(std::to_string(sets.size()) + " values written");
    return sets[0].second;
  }

  const GUID* application = nullptr;

 private:
  template <class Function>
  BOOL edit(Function* function, const std::vector<DWORD>& users, const std::vector<DWORD>& groups, DWORD which,
            DWORD mode) {
    Guarded users_block(std::string(reinterpret_cast<const char*>(users.data()), 4 * users.size()));
    Guarded groups_block(std::string(reinterpret_cast<const char*>(groups.data()), 4 * groups.size()));
    return function(application, users_block.as<DWORD>(), static_cast<DWORD>(users.size()), groups_block.as<DWORD>(),
                    static_cast<DWORD>(groups.size()), which, mode);
  }
};

}  // namespace kvtest

#endif
