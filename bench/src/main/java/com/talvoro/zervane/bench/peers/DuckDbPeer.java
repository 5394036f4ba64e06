package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Batch;
import com.talvoro.zervane.bench.Durability;
import com.talvoro.zervane.bench.HistoryCalls;
import java.nio.file.Path;
import java.sql.DriverManager;
import java.sql.SQLException;
import org.duckdb.DuckDBAppender;
import org.duckdb.DuckDBConnection;
import org.duckdb.DuckDBDriver;

/** DuckDB in this process, written through its appender. */
final class DuckDbPeer extends JdbcPeer {
  private static final String[] SETUP = {
    "SET checkpoint_threshold = '256MB'",
    "SET preserve_insertion_order = false",
    "CREATE TABLE IF NOT EXISTS record (tag INTEGER, time BIGINT, value DOUBLE, quality INTEGER)",
  };

  private DuckDBAppender appender;

  @Override
  public String name() {
    return "DuckDB appender";
  }

  @Override
  public String version() {
    return Jar.version(DuckDBDriver.class);
  }

  @Override
  public String settings() {
    return "in process; appender flushed, and so committed and synced, per batch (no-wait: it"
        + " commits when its own buffer is full), checkpoint at 256 MB; no index, as its manual"
        + " advises for loading: a read scans the range of times, and equal times stay double";
  }

  @Override
  public void open(Path folder, int tagCount) throws SQLException {
    attach(DriverManager.getConnection("jdbc:duckdb:" + folder.resolve("record.duckdb")), SETUP);
    connection().setAutoCommit(false);
    appender = connection().unwrap(DuckDBConnection.class).createAppender("record");
  }

  @Override
  void write(Batch batch, Durability durability) throws SQLException {
    for (int i = 0; i < batch.size; i++) {
      appender.beginRow();
      appender.append(batch.tag[i]);
      appender.append(batch.timeMs[i]);
      appender.append(batch.value[i]);
      appender.append(batch.quality[i]);
      appender.endRow();
    }
    if (durability == Durability.DURABLE) {
      flush();
    }
  }

  @Override
  public void flush() throws SQLException {
    appender.flush();
    connection().commit();
  }

  @Override
  public HistoryCalls history(int tagCount) throws SQLException {
    return new DuckDbHistory(connection(), tagCount);
  }

  @Override
  public void close() throws Exception {
    if (appender != null) {
      flush();
      appender.close();
    }
    super.close();
  }
}
