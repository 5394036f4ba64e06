package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Batch;
import com.talvoro.zervane.bench.Checksum;
import com.talvoro.zervane.bench.Durability;
import com.talvoro.zervane.bench.HistoryCalls;
import com.talvoro.zervane.bench.Prepared;
import io.questdb.cairo.CairoEngine;
import io.questdb.cairo.CommitMode;
import io.questdb.cairo.DefaultCairoConfiguration;
import io.questdb.cairo.TableToken;
import io.questdb.cairo.TableWriter;
import io.questdb.cairo.TableWriterAPI;
import io.questdb.cairo.security.AllowAllSecurityContext;
import io.questdb.cairo.sql.Record;
import io.questdb.cairo.sql.RecordCursor;
import io.questdb.cairo.sql.RecordCursorFactory;
import io.questdb.griffin.SqlException;
import io.questdb.griffin.SqlExecutionContextImpl;
import io.questdb.griffin.engine.functions.bind.BindVariableServiceImpl;
import io.questdb.std.Files;
import java.nio.file.Path;

/**
 * QuestDB in this process, in either of its two ways of writing: through its journal, from which a
 * thread of its own fills the table, or straight into the table.
 */
final class QuestDbPeer extends Peer {
  private static final long MICROS_PER_MS = 1000;
  private static final String READ =
      "SELECT time, value, quality FROM record"
          + " WHERE tag = $1 AND time >= $2 AND time <= $3 ORDER BY time LIMIT $4";

  /** Its own defaults, with every commit synced or none. */
  private static final class Configuration extends DefaultCairoConfiguration {
    private volatile int commitMode = CommitMode.SYNC;

    Configuration(Path folder) {
      super(folder.toString());
    }

    @Override
    public int getCommitMode() {
      return commitMode;
    }

    /** What its server has by default; embedded, it would have an eighth of that. */
    @Override
    public long getDataAppendPageSize() {
      return 16 << 20;
    }

    @Override
    public boolean getLogSqlQueryProgressExe() {
      return false;
    }
  }

  /** A writer waits while more is in the journal alone: no rate counts that tables cannot keep. */
  private static final int BACKLOG_RECORDS = 400_000;

  private final boolean hasJournal;
  private Configuration configuration;
  private CairoEngine engine;
  private SqlExecutionContextImpl context;
  private BindVariableServiceImpl bindings;
  private TableWriterAPI writer;
  private QuestDbApplier applier;
  private RecordCursorFactory read;
  private boolean isBehind;
  private boolean isUnsynced;

  QuestDbPeer(boolean hasJournal) {
    this.hasJournal = hasJournal;
  }

  @Override
  public String name() {
    return hasJournal ? "QuestDB WAL" : "QuestDB direct";
  }

  @Override
  public String version() {
    return Jar.version(CairoEngine.class);
  }

  @Override
  public String settings() {
    return "in process; cairo.commit.mode=sync (no-wait: nosync), one commit per batch, partitions"
        + " by day, "
        + (hasJournal
            ? "WAL table, filled by one thread: a record is readable some time after the answer,"
                + " and a writer waits while 400,000 are not in the table, or any late one; "
            : "table without a WAL; ")
        + "no index: a read scans the range of times, and equal times stay double; no compression";
  }

  @Override
  public void open(Path folder, int tagCount) throws SqlException {
    System.setProperty("out", "/com/talvoro/zervane/bench/peers/questdb-log.conf");
    configuration = new Configuration(folder);
    engine = new CairoEngine(configuration);
    bindings = new BindVariableServiceImpl(configuration);
    context =
        new SqlExecutionContextImpl(engine, 1).with(AllowAllSecurityContext.INSTANCE, bindings);
    engine.execute(
        "CREATE TABLE IF NOT EXISTS record (time TIMESTAMP, tag INT, value DOUBLE, quality SHORT)"
            + " TIMESTAMP(time) PARTITION BY DAY "
            + (hasJournal ? "WAL" : "BYPASS WAL"),
        context);
    TableToken table = engine.verifyTableName("record");
    writer = engine.getTableWriterAPI(table, "bench");
    if (hasJournal) {
      applier = new QuestDbApplier(engine, table);
    }
  }

  @Override
  void write(Batch batch, Durability durability) throws InterruptedException {
    configuration.commitMode =
        durability == Durability.DURABLE ? CommitMode.SYNC : CommitMode.NOSYNC;
    for (int i = 0; i < batch.size; i++) {
      TableWriter.Row row = writer.newRow(batch.timeMs[i] * MICROS_PER_MS);
      row.putInt(1, batch.tag[i]);
      row.putDouble(2, batch.value[i]);
      row.putShort(3, (short) batch.quality[i]);
      row.append();
    }
    writer.commit();
    isUnsynced |= durability == Durability.NO_WAIT;
    if (hasJournal) {
      isBehind = true;
      applier.awaitBacklog(BACKLOG_RECORDS / batch.size);
    }
  }

  /** Waits for the table, too: the journal takes late records like others, the table far slower. */
  @Override
  public void writeLate(Prepared prepared) throws Exception {
    super.writeLate(prepared);
    awaitTable();
  }

  @Override
  public void flush() throws InterruptedException {
    awaitTable();
    if (isUnsynced) {
      Files.sync(); // all of the system's, as its own checkpoint does
      isUnsynced = false;
    }
  }

  private void awaitTable() throws InterruptedException {
    if (isBehind) {
      applier.awaitBacklog(0);
      isBehind = false;
    }
  }

  @Override
  public long readRaw(int tag, long fromMs, long toMs, int limit, Checksum checksum)
      throws Exception {
    awaitTable();
    bindings.setInt(0, tag);
    bindings.setTimestamp(1, fromMs * MICROS_PER_MS);
    bindings.setTimestamp(2, toMs * MICROS_PER_MS);
    bindings.setLong(3, limit);
    if (read == null) { // the types of the variables have to be known
      read = engine.select(READ, context);
    }
    long count = 0;
    try (RecordCursor cursor = read.getCursor(context)) {
      Record record = cursor.getRecord();
      for (; cursor.hasNext(); count++) {
        int quality = Short.toUnsignedInt(record.getShort(2));
        checksum.add(record.getTimestamp(0) / MICROS_PER_MS, record.getDouble(1), quality);
      }
    }
    return count;
  }

  /** Its queries may use the second core as well, as in its server. */
  @Override
  public HistoryCalls history(int tagCount) throws SqlException {
    return new QuestDbHistory(engine, context, bindings, tagCount);
  }

  @Override
  public void close() throws InterruptedException {
    if (read != null) {
      read.close();
    }
    if (writer != null) {
      writer.close();
    }
    if (applier != null) {
      applier.close();
    }
    if (engine != null) {
      context.close();
      engine.close();
    }
  }
}
