#pragma once

#include <cstddef>
#include <string>

#include "api/words/status.h"
#include "engine/storage/row.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/storage/tables.h"

// The tables of rows as tables of SQLite, made from their list (tables.h).
namespace zervane::storage {

// The statements that create the table and its further indexes.
std::string CreateTable(const TableInfo& table);

// Whether the file has the table with all its columns: ZR3_ERR_STORAGE_FAILED when not.
Status CheckTable(Connection& connection, const TableInfo& table);

// Carries the change out, within the caller's transaction.
Status ChangeRow(Connection& connection, const RowChange& change);

// As Store::Rows.
Status VisitRows(Connection& connection, const RowRange& range, std::size_t limit,
                 const RowVisitor& visit);

}  // namespace zervane::storage
