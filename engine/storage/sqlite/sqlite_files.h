#pragma once

namespace zervane::storage {

// Makes known to SQLite the way in which connections reach files: the system's, except that a read
// which the disk refuses (EIO, ENXIO, ERANGE) fails as one, with SQLITE_IOERR_READ and the error
// number. SQLite by itself answers such a read with SQLITE_CORRUPT, as it answers damaged bytes,
// and what is healthy must not be taken for damaged because a disk failed once.
//
// Answers the name to open a connection with; null when there is no memory. Threads: any.
const char* SqliteFiles();

}  // namespace zervane::storage
