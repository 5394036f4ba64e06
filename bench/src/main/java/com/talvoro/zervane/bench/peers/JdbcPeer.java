package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Checksum;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;

/** A store with a table {@code record (tag, time, value, quality)} behind a JDBC connection. */
abstract class JdbcPeer extends Peer {
  private static final String READ =
      "SELECT time, value, quality FROM record"
          + " WHERE tag = ? AND time BETWEEN ? AND ? ORDER BY time LIMIT ?";

  private Connection connection;
  private PreparedStatement read;

  /**
   * Takes over a connection, and makes what the statements make: settings, then the table.
   *
   * @param statements run in their order, before the statement that reads is prepared
   */
  final void attach(Connection opened, String... statements) throws SQLException {
    connection = opened;
    for (String statement : statements) {
      execute(statement);
    }
    read = connection.prepareStatement(READ);
  }

  final Connection connection() {
    return connection;
  }

  final void execute(String sql) throws SQLException {
    try (Statement statement = connection.createStatement()) {
      statement.execute(sql);
    }
  }

  @Override
  public final long readRaw(int tag, long fromMs, long toMs, int limit, Checksum checksum)
      throws SQLException {
    read.setInt(1, tag);
    read.setLong(2, fromMs);
    read.setLong(3, toMs);
    read.setInt(4, limit);
    long count = 0;
    try (ResultSet rows = read.executeQuery()) {
      for (; rows.next(); count++) {
        checksum.add(rows.getLong(1), rows.getDouble(2), rows.getInt(3));
      }
    }
    return count;
  }

  /** Closes what was opened, as far as {@link #attach} came. */
  @Override
  public void close() throws Exception {
    if (read != null) {
      read.close();
    }
    if (connection != null) {
      connection.close();
    }
  }
}
