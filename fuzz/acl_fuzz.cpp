// Any sequence of edits of an access-control list, beside a model of it: the entries as texts. The list lies in a
// block of exactly its size and the eight bytes by which an entry may overrun it.
#include <windows.h>

#include <cstring>
#include <vector>

#include "fuzz/fuzz_input.h"

namespace {

using Entries = std::vector<std::string>;

std::string as_sid(unsigned count, unsigned seed) {
  std::string sid(8 + 4 * count, static_cast<char>(seed));
  sid[0] = 1;
  sid[1] = static_cast<char>(count);
  return sid;
}

std::string as_entry(unsigned type, unsigned flags, std::uint32_t mask, const std::string& rest) {
  const std::size_t size = 8 + rest.size();
  const char head[8] = {static_cast<char>(type),       static_cast<char>(flags),     static_cast<char>(size),
                        static_cast<char>(size >> 8),  static_cast<char>(mask),      static_cast<char>(mask >> 8),
                        static_cast<char>(mask >> 16), static_cast<char>(mask >> 24)};
  return std::string(head, 8) + rest;
}

class Edited_List {
 public:
  explicit Edited_List(unsigned size) : size_(size), block_(size + 8, '\x5E') {
    check(InitializeAcl(acl(), size, ACL_REVISION) == TRUE);
  }

  // An entry for a SID: three kinds.
  void append(unsigned kind, std::uint32_t mask, std::string sid, bool success, bool failure) {
    const bool fits = static_cast<long>(size_) - used() >= static_cast<long>(sid.size());
    const unsigned type = kind % 3;
    BOOL done = FALSE;
    if (type == 0) done = AddAccessAllowedAce(acl(), ACL_REVISION, mask, sid.data());
    if (type == 1) done = AddAccessDeniedAce(acl(), ACL_REVISION, mask, sid.data());
    if (type == 2) done = AddAuditAccessAce(acl(), ACL_REVISION, mask, sid.data(), success, failure);
    check(done == static_cast<BOOL>(fits));
    const unsigned flags = type == 2 ? (success ? 0x40u : 0u) | (failure ? 0x80u : 0u) : 0u;
    if (fits) entries_.push_back(as_entry(type, flags, mask, sid));
  }

  // A list of one entry, or of two of which only the first is counted. Inside the list the new entry has the size
  // of the one that it follows or is appended: everything else tears entries apart.
  void add(unsigned index, std::string first, const std::string& second) {
    std::string list = first + second;
    if (index < entries_.size() && list.size() != entries_[index].size()) index = 0xFFFFFFFF;
    const bool fits = static_cast<long>(size_) - used() >= static_cast<long>(list.size());
    check(AddAce(acl(), 0, index, list.data(), static_cast<DWORD>(list.size())) == static_cast<BOOL>(fits));
    if (fits) entries_.push_back(first);
  }

  // False when the count has gone below zero, which ends the model.
  bool remove(unsigned number) {
    const bool is_there = number <= entries_.size();
    check(DeleteAce(acl(), number) == static_cast<BOOL>(is_there));
    if (!is_there) return true;
    if (entries_.empty()) return false;
    // An overrun list loses the bytes behind its size when its entries stay where they are.
    const bool cut = used() > static_cast<long>(size_);
    if (number == 0) {
      entries_.pop_back();
    } else {
      entries_.erase(entries_.begin() + static_cast<long>(number) - 1);
    }
    return !cut || used() <= static_cast<long>(size_);
  }

  void compare() {
    check(IsValidAcl(acl()) == (used() <= static_cast<long>(size_) ? TRUE : FALSE));
    LPVOID place = nullptr;
    for (unsigned i = 0; i < entries_.size(); ++i) {
      check(GetAce(acl(), i + 1, &place) == TRUE);
      check(std::memcmp(place, entries_[i].data(), entries_[i].size()) == 0);
    }
    check(GetAce(acl(), static_cast<DWORD>(entries_.size()) + 1, &place) == FALSE);
    FindFirstFreeAce(acl(), &place);
    check(static_cast<char*>(place) - block_.data() == used());
    ACL_SIZE_INFORMATION told;
    check(GetAclInformation(acl(), &told, sizeof told, AclSizeInformation) == TRUE);
    check(told.AceCount == entries_.size() && static_cast<long>(told.AclBytesInUse) == used());
    check(static_cast<LONG>(told.AclBytesFree) == static_cast<long>(size_) - used());
  }

  unsigned count() const { return static_cast<unsigned>(entries_.size()); }

 private:
  ACL* acl() { return reinterpret_cast<ACL*>(block_.data()); }
  long used() const {
    long sum = 8;
    for (const std::string& entry : entries_) sum += static_cast<long>(entry.size());
    return sum;
  }

  unsigned size_;
  std::vector<char> block_;
  Entries entries_;
};

bool edit(Edited_List& list, Fuzz_Input& input) {
  const unsigned choice = input.byte();
  const unsigned seed = input.byte();
  switch (choice % 4) {
    case 0:
    case 1:
      list.append(choice >> 2, input.dword(), as_sid(seed % 17, seed), (choice & 0x40) != 0, (choice & 0x80) != 0);
      return true;
    case 2:
      list.add(input.byte(), as_entry(choice >> 2, seed, seed, std::string(seed % 23, 'a')),
               (choice & 0x80) != 0 ? as_entry(9, 9, 9, "b") : "");
      return true;
    default:
      return list.remove(seed % (list.count() + 2));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Fuzz_Input input(data, size);
  Edited_List list(8 + input.word() % 1500);
  list.compare();
  while (!input.is_at_end() && edit(list, input)) list.compare();
  return 0;
}
