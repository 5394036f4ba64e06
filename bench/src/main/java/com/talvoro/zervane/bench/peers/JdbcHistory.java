package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.HistoryCalls;
import com.talvoro.zervane.bench.Question;
import com.talvoro.zervane.bench.Statistic;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.HashMap;
import java.util.Map;
import java.util.function.ObjDoubleConsumer;

/** A history behind a JDBC connection: every question is a statement that is prepared once. */
abstract class JdbcHistory implements HistoryCalls {
  private final Connection connection;
  private final HistorySql sql;
  private final Map<String, Asked> statements = new HashMap<>();
  private int tagOfInstants;
  private int instantCount;

  JdbcHistory(Connection connection, HistorySql sql) {
    this.connection = connection;
    this.sql = sql;
  }

  private record Asked(PreparedStatement statement, HistorySql.Text text) {}

  /** The statement that interpolates, by :tag, between the table of instants and the history. */
  abstract String interpolation();

  final void execute(String statement) throws SQLException {
    try (Statement executed = connection.createStatement()) {
      executed.execute(statement);
    }
  }

  private PreparedStatement bound(String statement, Question question) throws SQLException {
    Asked asked = statements.get(statement);
    if (asked == null) {
      HistorySql.Text text = HistorySql.Text.of(statement, name -> "?");
      asked = new Asked(connection.prepareStatement(text.sql()), text);
      statements.put(statement, asked);
    }
    int i = 0;
    for (String parameter : asked.text.parameters()) {
      i++;
      switch (parameter) {
        case "tag" -> asked.statement.setInt(i, question.tag());
        case "from" -> asked.statement.setLong(i, question.fromMs());
        case "to" -> asked.statement.setLong(i, question.toMs());
        case "low" -> asked.statement.setDouble(i, question.low());
        case "high" -> asked.statement.setDouble(i, question.high());
        default -> throw new IllegalArgumentException(parameter);
      }
    }
    return asked.statement;
  }

  private double number(String statement, Question question) throws SQLException {
    try (ResultSet rows = bound(statement, question).executeQuery()) {
      if (!rows.next()) {
        throw new SQLException("no answer to " + question);
      }
      double number = rows.getDouble(1);
      if (rows.wasNull()) {
        throw new SQLException("an empty answer to " + question);
      }
      return number;
    }
  }

  @Override
  public final double ask(Question question) throws SQLException {
    return number(sql.statistic(question.what()), question);
  }

  @Override
  public final double askWindow(Question question) throws SQLException {
    return number(sql.window(question.what()), question);
  }

  @Override
  public final boolean meansByHour(
      Statistic what, long fromMs, long toMs, ObjDoubleConsumer<TagHour> means)
      throws SQLException {
    Question question = new Question(what, 0, fromMs, toMs, 0, 0);
    try (ResultSet rows = bound(sql.meansByHour(what), question).executeQuery()) {
      while (rows.next()) {
        means.accept(new TagHour(rows.getInt(1), rows.getLong(2)), rows.getDouble(3));
      }
    }
    return true;
  }

  @Override
  public final void setInstants(int tag, long[] timesMs) throws SQLException {
    tagOfInstants = tag;
    instantCount = timesMs.length;
    execute("DROP TABLE IF EXISTS instants");
    execute("CREATE TEMPORARY TABLE instants (number INTEGER, time BIGINT)");
    try (PreparedStatement insert =
        connection.prepareStatement("INSERT INTO instants VALUES (?, ?)")) {
      for (int i = 0; i < timesMs.length; i++) {
        insert.setInt(1, i);
        insert.setLong(2, timesMs[i]);
        insert.addBatch();
      }
      insert.executeBatch();
    }
    execute("ANALYZE instants");
  }

  @Override
  public final double[] interpolate() throws SQLException {
    double[] values = new double[instantCount];
    int count = 0;
    Question question = new Question(null, tagOfInstants, 0, 0, 0, 0);
    try (ResultSet rows = bound(interpolation(), question).executeQuery()) {
      for (; rows.next(); count++) {
        values[rows.getInt(1)] = rows.getDouble(2);
      }
    }
    if (count != instantCount) {
      throw new SQLException(count + " values of " + instantCount);
    }
    return values;
  }

  @Override
  public void close() throws SQLException {
    for (Asked asked : statements.values()) {
      asked.statement.close();
    }
  }
}
