// Sub-keys that were found by name below keys that have too many to be kept: a few thousand of the latest, told
// by the state of their parent.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "hive/cache/folded_name.h"
#include "hive/cache/read_section.h"

namespace hive {

class Found_Children {
 public:
  static Found_Children& of_process();

  // Which state of which key of which hive.
  struct Parent {
    std::uint64_t hive;
    std::int64_t seq;  // never used twice in a hive

    bool operator==(const Parent&) const = default;
  };

  // In a Read_Section. The sub-key's number; 0 when it is not known.
  std::int64_t find(const Parent& parent, const Folded_Name& name) const;
  void put(const Parent& parent, const Folded_Name& name, std::int64_t number);

 private:
  static constexpr std::size_t places = 4096;

  struct Child final : Shared_Object {
    Parent parent{};
    std::int64_t number = 0;
    std::u16string folded;
  };

  static std::size_t place_of(const Parent& parent, const Folded_Name& name);

  std::array<std::atomic<const Child*>, places> children_{};
};

}  // namespace hive
