#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "engine/storage/sqlite/sqlite_store.h"
#include "engine/storage/store.h"
#include "tests/engine/storage/store_driver.h"
#include "tests/engine/storage/temp_folder.h"

// What the suites of the storage share.
namespace zervane::storage {

// Bounds so small that every test runs into them.
constexpr SqliteStoreOptions kTinyOptions{
    .pending_bytes = 40 * kPendingRecordBytes, .chunk_records = 8, .group_chunks = 3};

// The store in the folder; fails the test when it does not open.
std::unique_ptr<Store> MustOpen(const std::filesystem::path& folder,
                                const SqliteStoreOptions& options = kTinyOptions,
                                const TextEncoding& encoding = {});

// Equal to the last bit: NaNs and zeros of either sign are told apart.
bool Identical(const Sample& a, const Sample& b);

// Copies the database's files as they stand, as if the process ended now.
void CopyAsAfterCrash(const std::filesystem::path& from, const std::filesystem::path& to);

// Likewise of a database that is open in this process, whose threads may be writing meanwhile.
void CopyWhileOpen(const std::filesystem::path& from, const std::filesystem::path& to);

// Runs the body in a child process, whose failed expectations fail the test.
void ExpectInChild(const std::function<void()>& body);

// Expects of a database that no store has open: all chunks, batches and current values decode, and
// no two chunks of a tag overlap.
void ExpectWholeFile(const std::filesystem::path& folder);

// Runs SQL on the database's file, which no store has open.
void EditFile(const std::filesystem::path& folder, const std::string& sql);

// The one number that a query answers.
std::int64_t NumberInFile(const std::filesystem::path& folder, const std::string& sql);

}  // namespace zervane::storage
