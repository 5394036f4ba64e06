#pragma once

#include <string>

#include "api/operation_number.h"

namespace zervane {

// An operation's line in the log, made from the list of its fields: "delete tag(id: 7)". Texts are
// cut after a few dozen bytes; of samples, tags and long lists only their size is told.
std::string Describe(OperationNumber number, const void* operation);

}  // namespace zervane
