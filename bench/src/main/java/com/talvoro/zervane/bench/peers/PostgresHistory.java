package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Batch;
import java.sql.Connection;
import java.sql.SQLException;
import org.postgresql.PGConnection;
import org.postgresql.copy.CopyIn;

/**
 * A history in PostgreSQL: loaded by one COPY in the transaction that makes the table, which needs
 * no journal; then an index by tag and time that has the other columns, too, so that a question
 * about a tag is answered from the index alone, and one of blocks by time, for all tags together.
 */
final class PostgresHistory extends JdbcHistory {
  private static final String INTERPOLATION =
      "SELECT i.number, b.value + (a.value - b.value) * (i.time - b.time) / (a.time - b.time)"
          + " FROM instants i CROSS JOIN LATERAL (SELECT time, value FROM history WHERE tag = :tag"
          + " AND quality = 192 AND time <= i.time ORDER BY time DESC LIMIT 1) b"
          + " CROSS JOIN LATERAL (SELECT time, value FROM history WHERE tag = :tag"
          + " AND quality = 192 AND time > i.time ORDER BY time LIMIT 1) a";

  private final Connection connection;
  private final BinaryRows rows = new BinaryRows();
  private CopyIn copy;

  PostgresHistory(Connection connection) throws SQLException {
    super(
        connection,
        new HistorySql(
            "bigint", 1000, "(ORDER BY time)", "(VALUES (0), (1)) AS parts (part)", "%s"));
    this.connection = connection;
    execute("SET work_mem = '256MB'");
    execute("SET maintenance_work_mem = '1GB'");
  }

  @Override
  public void add(Batch batch) throws SQLException {
    rows.clear(batch.size);
    if (copy == null) {
      connection.setAutoCommit(false);
      execute(
          "CREATE TABLE history (time bigint NOT NULL, value float8 NOT NULL,"
              + " tag integer NOT NULL, quality smallint NOT NULL)");
      copy =
          connection
              .unwrap(PGConnection.class)
              .getCopyAPI()
              .copyIn("COPY history FROM STDIN (FORMAT binary, FREEZE)");
      rows.begin();
    }
    rows.add(batch);
    copy.writeToCopy(rows.array(), 0, rows.length());
  }

  @Override
  public void finish() throws SQLException {
    rows.clear(0).end();
    copy.writeToCopy(rows.array(), 0, rows.length());
    copy.endCopy();
    connection.commit();
    connection.setAutoCommit(true);
    execute("CREATE INDEX history_by_tag ON history (tag, time) INCLUDE (value, quality)");
    execute("CREATE INDEX history_by_time ON history USING brin (time)");
    execute("VACUUM (ANALYZE) history");
  }

  @Override
  String interpolation() {
    return INTERPOLATION;
  }

  @Override
  public boolean isInProcess() {
    return false;
  }
}
