#include "hive/case_fold.h"

#include <algorithm>
#include <iterator>

namespace hive {
namespace {

struct Range {
  char16_t first;
  char16_t last;
  int step;
  int distance;
};

constexpr Range ranges[] = {
#include "hive/case_fold_table.inc"
};

}  // namespace

char16_t fold_case_beyond_ascii(char16_t unit) {
  const Range* range = std::lower_bound(std::begin(ranges), std::end(ranges), unit,
                                        [](const Range& r, char16_t u) { return r.last < u; });
  if (range == std::end(ranges) || unit < range->first || (unit - range->first) % range->step != 0) return unit;
  return static_cast<char16_t>(unit + range->distance);
}

std::u16string fold_case(std::u16string_view name) {
  std::u16string folded(name);
  for (char16_t& unit : folded) unit = fold_case(unit);
  return folded;
}

}  // namespace hive
