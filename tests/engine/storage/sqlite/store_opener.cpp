// Opens the store in the folder of its argument, as another process would. Exit code: 0 when it
// opens, 1 when it is in use by another process, 2 else.
#include <string>

#include "engine/storage/store.h"

int main(int, char** arguments) {
  const auto store = zervane::OpenSqliteStore(arguments[1]);
  if (store.ok()) return 0;
  const bool in_use = store.code() == ZR3_ERR_DATABASE_IN_USE &&
                      store.status().message().find("process ") != std::string::npos;
  return in_use ? 1 : 2;
}
