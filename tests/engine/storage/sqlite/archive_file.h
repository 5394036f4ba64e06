#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "engine/storage/sqlite/schema.h"
#include "engine/storage/sqlite/sqlite.h"
#include "tests/engine/storage/temp_folder.h"

namespace zervane::storage {

// A database file with its tables, and connections to it.
class ArchiveFile {
 public:
  std::unique_ptr<Connection> OpenWriter() const {
    auto connection = *Connection::Open(path());
    EXPECT_TRUE(PrepareWriter(*connection, TextEncoding()).ok());
    return connection;
  }
  std::unique_ptr<Connection> OpenReader() const {
    auto connection = *Connection::Open(path());
    EXPECT_TRUE(PrepareReader(*connection).ok());
    return connection;
  }

  std::filesystem::path path() const { return folder_.path() / "zervane.db"; }

 private:
  TempFolder folder_;
};

}  // namespace zervane::storage
