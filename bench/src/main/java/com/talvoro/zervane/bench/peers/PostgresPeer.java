package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Batch;
import com.talvoro.zervane.bench.Durability;
import com.talvoro.zervane.bench.HistoryCalls;
import java.nio.file.Files;
import java.nio.file.Path;
import java.sql.DriverManager;
import java.sql.SQLException;
import java.util.Properties;
import org.postgresql.PGConnection;
import org.postgresql.copy.CopyIn;
import org.postgresql.copy.CopyManager;

/** A PostgreSQL server of its own on the loopback interface, written by binary COPY. */
final class PostgresPeer extends JdbcPeer {
  private static final String SERVER = "postgresql";
  private static final String COPY = "COPY record FROM STDIN (FORMAT binary)";
  private static final String[] SETUP = {
    "CREATE TABLE IF NOT EXISTS record (time bigint NOT NULL, value float8 NOT NULL,"
        + " tag integer NOT NULL, quality smallint NOT NULL)",
    "CREATE INDEX IF NOT EXISTS record_by_tag ON record (tag, time)",
  };

  private ServerProcess server;
  private CopyManager copies;
  private final BinaryRows rows = new BinaryRows();
  private Durability synced = Durability.DURABLE;

  @Override
  public String name() {
    return "PostgreSQL COPY";
  }

  @Override
  public String version() {
    return ServerProcess.version(SERVER);
  }

  @Override
  public String settings() {
    return "server on loopback; fsync and synchronous_commit on (no-wait: the latter off), binary"
        + " COPY per batch, one transaction each, index (tag, time), 1 GB shared buffers, 4 GB"
        + " journal before a checkpoint, wal_level=minimal; a round trip per call, equal times stay"
        + " double, no compression";
  }

  @Override
  public void open(Path folder, int tagCount) throws Exception {
    server = new ServerProcess(SERVER, folder);
    String url = "jdbc:postgresql://127.0.0.1:" + server.port() + "/postgres";
    attach(
        server.connect(
            () -> {
              Properties login = new Properties();
              login.setProperty("user", "bench");
              login.setProperty("password", Files.readString(folder.resolve("password")));
              return DriverManager.getConnection(url, login);
            }),
        SETUP);
    copies = connection().unwrap(PGConnection.class).getCopyAPI();
  }

  private void synchronize(Durability durability) throws SQLException {
    if (durability != synced) {
      execute("SET synchronous_commit = " + (durability == Durability.DURABLE ? "on" : "off"));
      synced = durability;
    }
  }

  @Override
  void write(Batch batch, Durability durability) throws SQLException {
    synchronize(durability);
    rows.clear(batch.size).begin().add(batch).end();
    CopyIn copy = copies.copyIn(COPY);
    copy.writeToCopy(rows.array(), 0, rows.length());
    copy.endCopy();
  }

  /** Commits something synchronously, upon which every earlier commit is on the disk, too. */
  @Override
  public void flush() throws SQLException {
    synchronize(Durability.DURABLE);
    execute("SELECT pg_logical_emit_message(true, 'bench', 'flush')");
  }

  @Override
  public HistoryCalls history(int tagCount) throws SQLException {
    return new PostgresHistory(connection());
  }

  @Override
  public void close() throws Exception {
    try {
      super.close();
    } finally {
      if (server != null) {
        server.close();
      }
    }
  }
}
