package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Batch;
import com.talvoro.zervane.bench.HistoryCalls;
import com.talvoro.zervane.bench.Question;
import com.talvoro.zervane.bench.Statistic;
import io.questdb.cairo.CairoEngine;
import io.questdb.cairo.TableWriter;
import io.questdb.cairo.TableWriterAPI;
import io.questdb.cairo.sql.Record;
import io.questdb.cairo.sql.RecordCursor;
import io.questdb.cairo.sql.RecordCursorFactory;
import io.questdb.griffin.SqlException;
import io.questdb.griffin.SqlExecutionContextImpl;
import io.questdb.griffin.engine.functions.bind.BindVariableServiceImpl;
import io.questdb.mp.WorkerPool;
import io.questdb.mp.WorkerPoolUtils;
import io.questdb.std.Files;
import java.util.Arrays;
import java.util.Comparator;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.function.ObjDoubleConsumer;

/**
 * A history in QuestDB: a table of its own, whose tag is a symbol, with an index where there are
 * many of them. Queries have a worker beside the thread that asks.
 */
final class QuestDbHistory implements HistoryCalls {
  private static final long MICROS_PER_MS = 1000;
  private static final List<String> PARAMETERS = List.of("tag", "from", "to", "low", "high");

  /** Windows over more records than this take too long to be asked for over and over. */
  private static final long MOST_SPANS = 20_000_000;

  /** Rows that are committed together. */
  private static final int ROWS_PER_COMMIT = 1_000_000;

  private static final String MEANS_BY_HOUR =
      "SELECT tag, time, avg(value) FROM history WHERE time >= :from AND time < :to"
          + " AND quality = 192 SAMPLE BY 1h";
  private static final String BEFORE =
      "SELECT i.number, i.time, b.time, b.value FROM instants i"
          + " ASOF JOIN (SELECT time, value FROM history WHERE tag = :tag AND quality = 192) b";
  private static final String AFTER =
      "SELECT i.number, first(a.time), first(a.value) FROM instants i"
          + " WINDOW JOIN history a ON a.quality = 192 AND a.tag = :tag"
          + " RANGE BETWEEN 1 microsecond FOLLOWING AND "
          + GAP_MS
          + " milliseconds FOLLOWING EXCLUDE PREVAILING";

  private final CairoEngine engine;
  private final SqlExecutionContextImpl context;
  private final BindVariableServiceImpl bindings;
  private final WorkerPool workers = new WorkerPool(() -> 1);
  private final HistorySql sql =
      new HistorySql(
          "LONG",
          1_000_000,
          "()",
          "(SELECT x - 1 AS part FROM long_sequence(2)) AS parts",
          "CAST(%s AS LONG)");
  private final Map<String, RecordCursorFactory> prepared = new HashMap<>();
  private final String[] names;
  private TableWriterAPI writer;
  private int uncommitted;
  private int tagOfInstants;
  private int instantCount;

  QuestDbHistory(
      CairoEngine engine,
      SqlExecutionContextImpl context,
      BindVariableServiceImpl bindings,
      int tagCount)
      throws SqlException {
    this.engine = engine;
    this.context = context;
    this.bindings = bindings;
    names = new String[tagCount];
    Arrays.setAll(names, Integer::toString);
    boolean isOne = tagCount == 1;
    engine.execute(
        "CREATE TABLE IF NOT EXISTS history (time TIMESTAMP, tag SYMBOL"
            + (isOne ? "" : " INDEX")
            + ", value DOUBLE, quality SHORT) TIMESTAMP(time) PARTITION BY "
            + (isOne ? "MONTH" : "DAY")
            + " BYPASS WAL",
        context);
    WorkerPoolUtils.setupQueryJobs(workers, engine);
    workers.start();
  }

  private TableWriterAPI writerOf(String table) {
    return engine.getTableWriterAPI(engine.verifyTableName(table), "bench");
  }

  @Override
  public void add(Batch batch) {
    if (writer == null) {
      writer = writerOf("history");
    }
    for (int i = 0; i < batch.size; i++) {
      TableWriter.Row row = writer.newRow(batch.timeMs[i] * MICROS_PER_MS);
      row.putSym(1, names[batch.tag[i]]);
      row.putDouble(2, batch.value[i]);
      row.putShort(3, (short) batch.quality[i]);
      row.append();
    }
    uncommitted += batch.size;
    if (uncommitted >= ROWS_PER_COMMIT) {
      writer.commit();
      uncommitted = 0;
    }
  }

  @Override
  public void finish() {
    writer.commit();
    writer.close();
    writer = null;
    Files.sync();
  }

  /** Binds what a statement asks about; it is made once. */
  private RecordCursorFactory bound(String statement, Question question) throws SqlException {
    bindings.setStr(0, names[question.tag()]);
    bindings.setTimestamp(1, question.fromMs() * MICROS_PER_MS);
    bindings.setTimestamp(2, question.toMs() * MICROS_PER_MS);
    bindings.setDouble(3, question.low());
    bindings.setDouble(4, question.high());
    RecordCursorFactory factory = prepared.get(statement);
    if (factory == null) {
      HistorySql.Text text =
          HistorySql.Text.of(statement, name -> "$" + (PARAMETERS.indexOf(name) + 1));
      factory = engine.select(text.sql(), context);
      prepared.put(statement, factory);
    }
    return factory;
  }

  private double number(String statement, Question question, Statistic what)
      throws SqlException {
    try (RecordCursor rows = bound(statement, question).getCursor(context)) {
      if (!rows.hasNext()) {
        throw new IllegalStateException("no answer to " + question);
      }
      Record row = rows.getRecord();
      return what == Statistic.COUNT_BETWEEN ? row.getLong(0) : row.getDouble(0);
    }
  }

  @Override
  public double ask(Question question) throws SqlException {
    return number(sql.statistic(question.what()), question, question.what());
  }

  @Override
  public double askWindow(Question question) throws SqlException {
    return number(sql.window(question.what()), question, question.what());
  }

  @Override
  public long mostRecords(Statistic what) {
    return switch (what) {
      case AREA, TIME_MEAN, GOOD_SHARE, TIME_ABOVE -> MOST_SPANS;
      default -> Long.MAX_VALUE;
    };
  }

  @Override
  public boolean meansByHour(
      Statistic what, long fromMs, long toMs, ObjDoubleConsumer<TagHour> means)
      throws SqlException {
    String statement = what == Statistic.MEAN ? MEANS_BY_HOUR : sql.meansByHour(what);
    Question question = new Question(what, 0, fromMs, toMs, 0, 0);
    try (RecordCursor rows = bound(statement, question).getCursor(context)) {
      Record row = rows.getRecord();
      while (rows.hasNext()) {
        int tag = Integer.parseInt(row.getSymA(0).toString());
        means.accept(new TagHour(tag, row.getLong(1) / MICROS_PER_MS), row.getDouble(2));
      }
    }
    return true;
  }

  /** Its joins by time ask for a table in the order of time. */
  @Override
  public void setInstants(int tag, long[] timesMs) throws SqlException {
    tagOfInstants = tag;
    instantCount = timesMs.length;
    prepared.values().forEach(RecordCursorFactory::close);
    prepared.clear(); // a statement knows the table that it was made for
    engine.execute("DROP TABLE IF EXISTS instants", context);
    engine.execute(
        "CREATE TABLE instants (time TIMESTAMP, number INT) TIMESTAMP(time)"
            + " PARTITION BY NONE BYPASS WAL",
        context);
    Integer[] byTime = new Integer[timesMs.length];
    Arrays.setAll(byTime, i -> i);
    Arrays.sort(byTime, Comparator.comparingLong(i -> timesMs[i]));
    try (TableWriterAPI instants = writerOf("instants")) {
      for (int i : byTime) {
        TableWriter.Row row = instants.newRow(timesMs[i] * MICROS_PER_MS);
        row.putInt(1, i);
        row.append();
      }
      instants.commit();
    }
  }

  /** The records before and those after, by a statement each, then the lines between them. */
  @Override
  public double[] interpolate() throws SqlException {
    long[] instant = new long[instantCount];
    long[] before = new long[instantCount];
    double[] values = new double[instantCount];
    int count = 0;
    Question question = new Question(null, tagOfInstants, 0, 0, 0, 0);
    try (RecordCursor rows = bound(BEFORE, question).getCursor(context)) {
      for (Record row = rows.getRecord(); rows.hasNext(); count++) {
        int i = row.getInt(0);
        instant[i] = row.getTimestamp(1);
        before[i] = row.getTimestamp(2);
        values[i] = row.getDouble(3);
      }
    }
    try (RecordCursor rows = bound(AFTER, question).getCursor(context)) {
      for (Record row = rows.getRecord(); rows.hasNext(); count++) {
        int i = row.getInt(0);
        double share = (double) (instant[i] - before[i]) / (row.getTimestamp(1) - before[i]);
        values[i] += (row.getDouble(2) - values[i]) * share;
      }
    }
    if (count != 2 * instantCount) {
      throw new IllegalStateException(count + " records beside " + instantCount + " instants");
    }
    return values;
  }

  @Override
  public void close() {
    prepared.values().forEach(RecordCursorFactory::close);
    if (writer != null) {
      writer.close();
    }
    workers.halt();
  }
}
