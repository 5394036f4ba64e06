#include "engine/storage/sqlite/system_status.h"

#include <cerrno>
#include <system_error>

namespace zervane::storage {
namespace {

ZR3_STATUS CodeOf(int error) {
  switch (error) {
    case EACCES:
    case EPERM:
    case EROFS:
      return ZR3_ERR_STORAGE_READ_ONLY;
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
      return ZR3_ERR_STORAGE_FULL;
    case ENOMEM:
      return ZR3_ERR_OUT_OF_MEMORY;
    default:
      return ZR3_ERR_STORAGE_FAILED;
  }
}

}  // namespace

Status SystemStatus(int error, const std::string& doing) {
  return Status(CodeOf(error), doing + ": " + std::generic_category().message(error));
}

}  // namespace zervane::storage
