#include "impl/inproc/status_code.h"

#include <winerror.h>

namespace impl {

DWORD code_of(hive::Status status) {
  using hive::Status;
  switch (status) {
    case Status::ok:
      return ERROR_SUCCESS;
    case Status::more_data:
      return ERROR_MORE_DATA;
    case Status::no_more_items:
      return ERROR_NO_MORE_ITEMS;
    case Status::not_found:
      return ERROR_FILE_NOT_FOUND;
    case Status::denied:
    case Status::has_children:
      return ERROR_ACCESS_DENIED;
    case Status::invalid:
    case Status::too_large:  // no memory or disk would make it fit: the argument itself is refused
      return ERROR_INVALID_PARAMETER;
    case Status::key_deleted:
      return ERROR_KEY_DELETED;
    case Status::must_be_volatile:
      return ERROR_CHILD_MUST_BE_VOLATILE;
    case Status::exists:
      return ERROR_ALREADY_EXISTS;
    case Status::busy:
      return ERROR_BUSY;
    case Status::disk_full:
      return ERROR_DISK_FULL;
    case Status::damaged:
      return ERROR_BADDB;
    case Status::not_a_hive:
    case Status::newer_version:
      return ERROR_NOT_REGISTRY_FILE;
    case Status::io_failed:
      return ERROR_REGISTRY_IO_FAILED;
    case Status::no_memory:
      return ERROR_NOT_ENOUGH_MEMORY;
    case Status::unsupported:
      return ERROR_CALL_NOT_IMPLEMENTED;
    case Status::no_batch:
      return ERROR_TRANSACTION_NOT_ACTIVE;
    case Status::in_batch:
      return ERROR_TRANSACTION_REQUEST_NOT_VALID;
    case Status::batch_lost:
      return ERROR_TRANSACTION_ALREADY_ABORTED;
    case Status::not_tried:
      return ERROR_OPERATION_ABORTED;
  }
  return ERROR_REGISTRY_IO_FAILED;
}

}  // namespace impl
