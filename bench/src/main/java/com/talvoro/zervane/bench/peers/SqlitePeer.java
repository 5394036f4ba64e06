package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Batch;
import com.talvoro.zervane.bench.Durability;
import com.talvoro.zervane.bench.TagCalls;
import java.nio.file.Path;
import java.sql.DriverManager;
import java.sql.PreparedStatement;
import java.sql.SQLException;
import org.sqlite.JDBC;

/** SQLite in this process: a row per record, ordered by tag and time, a transaction per batch. */
final class SqlitePeer extends JdbcPeer {
  private static final String[] SETUP = {
    "PRAGMA locking_mode = EXCLUSIVE",
    "PRAGMA journal_mode = WAL",
    "PRAGMA wal_autocheckpoint = 16384",
    "PRAGMA cache_size = -262144",
    "PRAGMA mmap_size = 1073741824",
    "CREATE TABLE IF NOT EXISTS record (tag INTEGER, time INTEGER, value REAL, quality INTEGER,"
        + " PRIMARY KEY (tag, time)) WITHOUT ROWID",
  };

  private PreparedStatement insert;
  private SqliteTags tags;
  private Durability synced;

  @Override
  public String name() {
    return "SQLite JDBC";
  }

  @Override
  public String version() {
    return Jar.version(JDBC.class);
  }

  @Override
  public String settings() {
    return "in process; WAL, synchronous=FULL (no-wait: NORMAL), exclusive locking, checkpoint at"
        + " 64 MiB, 256 MiB cache; primary key (tag, time) WITHOUT ROWID, one prepared INSERT as a"
        + " JDBC batch, one transaction per batch; no compression";
  }

  @Override
  public void open(Path folder, int tagCount) throws SQLException {
    attach(DriverManager.getConnection("jdbc:sqlite:" + folder.resolve("record.sqlite")), SETUP);
    connection().setAutoCommit(false);
    synchronize(Durability.DURABLE);
    insert = connection().prepareStatement("INSERT INTO record VALUES (?, ?, ?, ?)");
  }

  /** A commit syncs the journal under FULL only; NORMAL leaves that to checkpoints. */
  private void synchronize(Durability durability) throws SQLException {
    if (durability != synced) {
      executeAlone(
          "PRAGMA synchronous = " + (durability == Durability.DURABLE ? "FULL" : "NORMAL"));
      synced = durability;
    }
  }

  /** Runs what SQLite does not do inside a transaction. */
  private void executeAlone(String sql) throws SQLException {
    connection().setAutoCommit(true);
    execute(sql);
    connection().setAutoCommit(false);
  }

  @Override
  void write(Batch batch, Durability durability) throws SQLException {
    synchronize(durability);
    for (int i = 0; i < batch.size; i++) {
      insert.setInt(1, batch.tag[i]);
      insert.setLong(2, batch.timeMs[i]);
      insert.setDouble(3, batch.value[i]);
      insert.setInt(4, batch.quality[i]);
      insert.addBatch();
    }
    insert.executeBatch();
    connection().commit();
  }

  /** The table of tags is made by the first who asks for it. */
  @Override
  public TagCalls tags() throws SQLException {
    if (tags == null) {
      for (String statement : SqliteTags.SETUP) {
        execute(statement);
      }
      connection().commit();
      tags = new SqliteTags(connection());
    }
    return tags;
  }

  /** Carries the journal into the database, and syncs both. */
  @Override
  public void flush() throws SQLException {
    executeAlone("PRAGMA wal_checkpoint(TRUNCATE)");
  }

  @Override
  public void close() throws Exception {
    if (tags != null) {
      tags.close();
    }
    if (insert != null) {
      insert.close();
    }
    super.close();
  }
}
