package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Batch;
import com.talvoro.zervane.bench.Durability;
import java.nio.ByteBuffer;
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

  // The binary COPY format: a signature, no flags, no extension; rows of fields, each after its
  // length; -1 for the end.
  private static final byte[] SIGNATURE = {
    'P', 'G', 'C', 'O', 'P', 'Y', '\n', (byte) 0xFF, '\r', '\n', 0, 0, 0, 0, 0, 0, 0, 0, 0
  };
  private static final short FIELDS = 4;
  private static final int VALUES_BYTES = Long.BYTES + Double.BYTES + Integer.BYTES + Short.BYTES;
  private static final int ROW_BYTES = Short.BYTES + FIELDS * Integer.BYTES + VALUES_BYTES;
  private static final short END = -1;

  private ServerProcess server;
  private CopyManager copies;
  private ByteBuffer rows = ByteBuffer.allocate(0);
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

  private void encode(Batch batch) {
    int length = SIGNATURE.length + batch.size * ROW_BYTES + Short.BYTES;
    if (rows.capacity() < length) {
      rows = ByteBuffer.allocate(length);
    }
    rows.clear().put(SIGNATURE);
    for (int i = 0; i < batch.size; i++) {
      rows.putShort(FIELDS);
      rows.putInt(Long.BYTES).putLong(batch.timeMs[i]);
      rows.putInt(Double.BYTES).putDouble(batch.value[i]);
      rows.putInt(Integer.BYTES).putInt(batch.tag[i]);
      rows.putInt(Short.BYTES).putShort((short) batch.quality[i]);
    }
    rows.putShort(END);
  }

  @Override
  void write(Batch batch, Durability durability) throws SQLException {
    synchronize(durability);
    encode(batch);
    CopyIn copy = copies.copyIn(COPY);
    copy.writeToCopy(rows.array(), 0, rows.position());
    copy.endCopy();
  }

  /** Commits something synchronously, upon which every earlier commit is on the disk, too. */
  @Override
  public void flush() throws SQLException {
    synchronize(Durability.DURABLE);
    execute("SELECT pg_logical_emit_message(true, 'bench', 'flush')");
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
