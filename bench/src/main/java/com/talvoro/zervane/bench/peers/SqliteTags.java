package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Checksum;
import com.talvoro.zervane.bench.TagCalls;
import com.talvoro.zervane.bench.TagPattern;
import com.talvoro.zervane.bench.TagSet;
import java.sql.Connection;
import java.sql.PreparedStatement;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.util.EnumMap;
import java.util.List;
import java.util.Map;

/**
 * A table of tags with the columns that ours have in common, names and descriptions indexed without
 * regard to case, as LIKE wants it.
 */
final class SqliteTags implements TagCalls, AutoCloseable {
  static final List<String> SETUP =
      List.of(
          "CREATE TABLE IF NOT EXISTS tag (id INTEGER PRIMARY KEY,"
              + " name TEXT COLLATE NOCASE UNIQUE, descriptor TEXT COLLATE NOCASE,"
              + " unit TEXT DEFAULT '', changer TEXT DEFAULT 'admin', creator TEXT DEFAULT 'admin',"
              + " record_group TEXT DEFAULT '', record_owner TEXT DEFAULT '',"
              + " tag_group TEXT DEFAULT '', tag_owner TEXT DEFAULT '',"
              + " digital_set TEXT DEFAULT '', type INTEGER DEFAULT 4, class INTEGER DEFAULT 0,"
              + " archiving INTEGER DEFAULT 1, scan INTEGER DEFAULT 1,"
              + " changed INTEGER DEFAULT 1700000000, created INTEGER DEFAULT 1700000000,"
              + " exc_max_time INTEGER DEFAULT 0, comp_max_time INTEGER DEFAULT 0,"
              + " comp_type INTEGER DEFAULT 0, record_access INTEGER DEFAULT 0,"
              + " tag_access INTEGER DEFAULT 0, param1 INTEGER DEFAULT 0,"
              + " param2 INTEGER DEFAULT 0, param3 INTEGER DEFAULT 0, param4 INTEGER DEFAULT 0,"
              + " param5 INTEGER DEFAULT 0, exc_dev REAL DEFAULT 0, comp_dev REAL DEFAULT 0,"
              + " span REAL DEFAULT 100, min_value REAL DEFAULT 0)",
          "CREATE INDEX IF NOT EXISTS tag_descriptor ON tag (descriptor)");

  /** Columns 2 to 11 are texts, those behind them whole numbers, the last four are not. */
  private static final int LAST_TEXT = 11;

  private static final int LAST_INTEGER = 27;
  private static final int LAST_COLUMN = 31;
  private static final int ROWS_PER_TRANSACTION = 10_000;

  private enum Query {
    FIRST("SELECT * FROM tag WHERE %s LIKE ? ORDER BY id LIMIT 1"),
    PAGE("SELECT * FROM tag WHERE %s LIKE ? AND id >= ? ORDER BY id LIMIT ?"),
    COUNT("SELECT count(*) FROM tag WHERE %s LIKE ?");

    private final String sql;

    Query(String sql) {
      this.sql = sql;
    }
  }

  private final Connection connection;
  private final PreparedStatement insert;
  private final Map<Query, PreparedStatement> byName = new EnumMap<>(Query.class);
  private final Map<Query, PreparedStatement> byDescriptor = new EnumMap<>(Query.class);
  private final Checksum unread = new Checksum();

  /** On a connection whose transactions are ended by hand, and are synced. */
  SqliteTags(Connection connection) throws SQLException {
    this.connection = connection;
    insert =
        connection.prepareStatement("INSERT INTO tag (name, descriptor, unit) VALUES (?, ?, ?)");
    for (Query query : Query.values()) {
      byName.put(query, connection.prepareStatement(String.format(query.sql, "name")));
      byDescriptor.put(query, connection.prepareStatement(String.format(query.sql, "descriptor")));
    }
  }

  @Override
  public void add(int from, int to) throws SQLException {
    for (int begin = from; begin < to; begin += ROWS_PER_TRANSACTION) {
      int end = Math.min(to, begin + ROWS_PER_TRANSACTION);
      for (int tag = begin; tag < end; tag++) {
        bind(tag);
        insert.addBatch();
      }
      insert.executeBatch();
      connection.commit();
    }
  }

  @Override
  public void addOne(int tag) throws SQLException {
    bind(tag);
    insert.executeUpdate();
    connection.commit();
  }

  private void bind(int tag) throws SQLException {
    insert.setString(1, TagSet.name(tag));
    insert.setString(2, TagSet.descriptor(tag));
    insert.setString(3, TagSet.unit());
  }

  @Override
  public int first(TagPattern pattern) throws SQLException {
    try (ResultSet rows = select(Query.FIRST, pattern).executeQuery()) {
      if (!rows.next()) {
        return 0;
      }
      read(rows, unread);
      return rows.getInt(1);
    } finally {
      connection.commit();
    }
  }

  @Override
  public int page(int start, int capacity, TagPattern pattern, Checksum checksum)
      throws SQLException {
    PreparedStatement select = select(Query.PAGE, pattern);
    select.setInt(2, start);
    select.setInt(3, capacity);
    int count = 0;
    try (ResultSet rows = select.executeQuery()) {
      for (; rows.next(); count++) {
        read(rows, checksum);
      }
    }
    connection.commit();
    return count;
  }

  @Override
  public int count(TagPattern pattern) throws SQLException {
    try (ResultSet rows = select(Query.COUNT, pattern).executeQuery()) {
      rows.next();
      return rows.getInt(1);
    } finally {
      connection.commit();
    }
  }

  private PreparedStatement select(Query query, TagPattern pattern) throws SQLException {
    PreparedStatement select = (pattern.isOfName() ? byName : byDescriptor).get(query);
    select.setString(1, pattern.text().replace('*', '%').replace('?', '_'));
    return select;
  }

  /** Reads all columns of a row. */
  private static void read(ResultSet rows, Checksum checksum) throws SQLException {
    int lengths = 0;
    for (int column = 2; column <= LAST_TEXT; column++) {
      lengths += rows.getString(column).length();
    }
    long sum = rows.getInt(1);
    for (int column = LAST_TEXT + 1; column <= LAST_INTEGER; column++) {
      sum += rows.getInt(column);
    }
    double numbers = 0;
    for (int column = LAST_INTEGER + 1; column <= LAST_COLUMN; column++) {
      numbers += rows.getFloat(column);
    }
    checksum.add(sum, numbers, lengths);
  }

  @Override
  public void close() throws SQLException {
    insert.close();
    for (Query query : Query.values()) {
      byName.get(query).close();
      byDescriptor.get(query).close();
    }
  }
}
