#pragma once

#include <filesystem>

namespace zervane::storage {

// Takes from everybody but their owner what they may do with the database's files, and with its
// folder when nothing else is in it; what the owner may stays as it is. A folder in which other
// things lie too, or which is shared on purpose (its sticky bit is set), is not the database's
// alone, and keeps its mode: what lies in it is closed all the same.
//
// What cannot be changed, because it is another user's or the file system knows no owners, is told
// in the log and is no reason to refuse a database that can be read and written: whoever it is open
// to could read it before, and closing it takes its owner.
//
// REQUIRES: the database is this process's (FolderLock), and its files are those of a database.
void KeepForOwner(const std::filesystem::path& folder);

}  // namespace zervane::storage
