// Names as a hive stores them: whether each row's are what its kind allows and its folded name fits.
#pragma once

#include "hive/store/rows.h"

namespace hive {

// What is wrong with the names of a row of kind, parent, name, folded, class; null when nothing is.
const char* fault_of_names(Rows& row);

}  // namespace hive
