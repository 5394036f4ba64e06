#pragma once

namespace zervane::storage {

// From now on the n-th write to a file of SQLite's, counted from 1, ends the process before it is
// made, as if it were killed.
void KillAtWrite(int nth);

}  // namespace zervane::storage
