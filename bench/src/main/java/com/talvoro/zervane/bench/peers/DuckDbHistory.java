package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Batch;
import java.sql.Connection;
import java.sql.SQLException;
import org.duckdb.DuckDBAppender;
import org.duckdb.DuckDBConnection;

/**
 * A history in DuckDB. Its rows lie in the order of tag and time, so that its statistics of blocks
 * of rows tell what a question can leave out, and windows need not sort them.
 */
final class DuckDbHistory extends JdbcHistory {
  private static final String GOOD =
      "(SELECT time, value FROM history WHERE tag = :tag AND quality = 192)";
  private static final String INTERPOLATION =
      "SELECT i.number, b.value + (a.value - b.value) * (i.time - b.time) / (a.time - b.time)"
          + " FROM instants i ASOF JOIN " + GOOD + " b ON i.time >= b.time ASOF JOIN " + GOOD
          + " a ON i.time < a.time";

  private final Connection connection;
  private final boolean isSorted;
  private DuckDBAppender appender;

  DuckDbHistory(Connection connection, int tagCount) throws SQLException {
    super(
        connection,
        new HistorySql("BIGINT", 1000, "()", "(VALUES (0), (1)) AS parts (part)", "%s"));
    this.connection = connection;
    isSorted = tagCount == 1;
    connection.setAutoCommit(true);
    execute("SET preserve_insertion_order = true");
    execute(
        "CREATE TABLE IF NOT EXISTS history"
            + " (tag INTEGER, time BIGINT, value DOUBLE, quality SMALLINT)");
  }

  @Override
  public void add(Batch batch) throws SQLException {
    if (appender == null) {
      appender = connection.unwrap(DuckDBConnection.class).createAppender("history");
    }
    for (int i = 0; i < batch.size; i++) {
      appender.beginRow();
      appender.append(batch.tag[i]);
      appender.append(batch.timeMs[i]);
      appender.append(batch.value[i]);
      appender.append((short) batch.quality[i]);
      appender.endRow();
    }
  }

  @Override
  public void finish() throws SQLException {
    appender.close();
    appender = null;
    if (!isSorted) {
      execute("CREATE TABLE sorted AS SELECT * FROM history ORDER BY tag, time");
      execute("DROP TABLE history");
      execute("ALTER TABLE sorted RENAME TO history");
    }
    execute("CHECKPOINT");
  }

  @Override
  String interpolation() {
    return INTERPOLATION;
  }

  /** Leaves the connection as it was. */
  @Override
  public void close() throws SQLException {
    super.close();
    if (appender != null) {
      appender.close();
    }
    connection.setAutoCommit(false);
  }
}
