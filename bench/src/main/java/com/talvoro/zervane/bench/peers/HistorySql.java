package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.HistoryCalls;
import com.talvoro.zervane.bench.Statistic;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import java.util.function.UnaryOperator;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/**
 * The questions about a table {@code history (tag, time, value, quality)}, in the words of a store.
 * Neither of them has a mean weighted by time, so window functions lay each record beside the one
 * before: from time t0 to t1 the value goes from v0 to v1.
 */
final class HistorySql {
  private static final Pattern PARAMETER = Pattern.compile("(?<!:):([a-z]+)");
  private static final long HOUR_SECONDS = 3600;

  private static final String RECORDS =
      " FROM history WHERE tag = :tag AND time >= :from AND time < :to AND quality = 192";

  private static final String SPANS =
      "SELECT time AS t1, value AS v1, quality AS q1, lag(time) OVER {over} AS t0,"
          + " lag(value) OVER {over} AS v0, lag(quality) OVER {over} AS q0"
          + " FROM history WHERE tag = :tag";

  /** From the record at a region's left end to the one at its right end. */
  private static final String FROM_WHOLE_SPANS =
      " FROM (" + SPANS + " AND time >= :from AND time <= :to) AS spans";

  /** The records that a region's ends lie between, too, and of each span what is in the region. */
  private static final String CUT_SPANS =
      "SELECT *, CASE WHEN t0 > :from THEN CAST(t0 AS {long}) ELSE CAST(:from AS {long}) END AS a,"
          + " CASE WHEN t1 < :to THEN CAST(t1 AS {long}) ELSE CAST(:to AS {long}) END AS b FROM ("
          + SPANS
          + " AND time >= :from - {gap} AND time <= :to + {gap}) AS spans";

  /** The area of whole spans: good ones run on the line to a good record, or hold. */
  private static final String AREA =
      "sum(CASE WHEN q0 = 192 THEN (t1 - t0) * CASE WHEN q1 = 192 THEN (v0 + v1) / 2 ELSE v0 END"
          + " END)";

  private static final String LENGTH = "sum(CASE WHEN q0 = 192 THEN t1 - t0 END)";

  /** The same from a to b, by the value in the middle between them. */
  private static final String CUT_AREA =
      "sum(CASE WHEN q0 = 192 THEN (b - a) * CASE WHEN q1 = 192"
          + " THEN v0 + (v1 - v0) / 2 * (a + b - 2 * {t0}) / ({t1} - {t0}) ELSE v0 END END)";

  private static final String CUT_LENGTH = "sum(CASE WHEN q0 = 192 THEN b - a END)";

  /** The spans of all tags, each in its first hour and, where it goes on, in its second one. */
  private static final String HOURLY_SPANS =
      "SELECT *, CASE WHEN {t0} > hour THEN {t0} ELSE hour END AS a,"
          + " CASE WHEN {t1} < hour + {hour} THEN {t1} ELSE hour + {hour} END AS b"
          + " FROM (SELECT *, {t0} - {t0} % {hour} + part * {hour} AS hour FROM"
          + " (SELECT tag, time AS t1, value AS v1, quality AS q1,"
          + " lag(time) OVER {tags} AS t0, lag(value) OVER {tags} AS v0,"
          + " lag(quality) OVER {tags} AS q0"
          + " FROM history WHERE time >= :from - {gap} AND time <= :to + {gap}) AS spans"
          + " CROSS JOIN {parts}) AS parted";

  private final Map<String, String> words;

  /**
   * @param integer the name of the type of 64-bit whole numbers
   * @param ticks how many units of time a second has
   * @param over the window of all records of a tag in the order of time
   * @param parts a table {@code parts (part)} of 0 and 1
   * @param number how a time becomes a number; %s is its column
   */
  HistorySql(String integer, long ticks, String over, String parts, String number) {
    words =
        Map.of(
            "{long}", integer,
            "{gap}", Long.toString(HistoryCalls.GAP_MS * ticks / 1000),
            "{hour}", Long.toString(HOUR_SECONDS * ticks),
            "{second}", ticks + ".0",
            "{over}", over,
            "{tags}", "(PARTITION BY tag ORDER BY time)",
            "{parts}", parts,
            "{t0}", String.format(number, "t0"),
            "{t1}", String.format(number, "t1"));
  }

  /** A question in words of the store, with the names of its parameters in their order. */
  record Text(String sql, List<String> parameters) {
    /** Puts another word in the place of each parameter. */
    static Text of(String sql, UnaryOperator<String> placeholder) {
      List<String> parameters = new ArrayList<>();
      Matcher found = PARAMETER.matcher(sql);
      StringBuilder text = new StringBuilder();
      while (found.find()) {
        parameters.add(found.group(1));
        found.appendReplacement(text, Matcher.quoteReplacement(placeholder.apply(found.group(1))));
      }
      return new Text(found.appendTail(text).toString(), parameters);
    }
  }

  /** A statistic of records from :from on to one at :to, which is not part of the region. */
  String statistic(Statistic what) {
    String select =
        switch (what) {
          case MEAN -> "SELECT avg(value)" + RECORDS;
          case LEAST -> "SELECT min(value)" + RECORDS;
          case GREATEST -> "SELECT max(value)" + RECORDS;
          case SUM -> "SELECT sum(value)" + RECORDS;
          case LAST -> "SELECT value" + RECORDS + " ORDER BY time DESC LIMIT 1";
          case AREA -> "SELECT " + AREA + " / {second}" + FROM_WHOLE_SPANS;
          case TIME_MEAN -> "SELECT " + AREA + " / " + LENGTH + FROM_WHOLE_SPANS;
          case GOOD_SHARE -> "SELECT 1e2 * " + LENGTH + " / (:to - :from)" + FROM_WHOLE_SPANS;
          case TIME_ABOVE ->
              "SELECT sum(CASE WHEN q0 = 192 AND v0 > :low THEN t1 - t0 END) / {second}"
                  + FROM_WHOLE_SPANS;
          case COUNT_BETWEEN ->
              "SELECT count(*)" + RECORDS + " AND value >= :low AND value <= :high";
          case FILTERED_MEAN -> "SELECT avg(value)" + RECORDS + " AND value > -1000000";
        };
    return inWords(select);
  }

  /** A mean whose region's ends lie anywhere. */
  String window(Statistic what) {
    return what == Statistic.MEAN
        ? statistic(what)
        : inWords(
            "SELECT " + CUT_AREA + " / " + CUT_LENGTH + " FROM (" + CUT_SPANS
                + ") AS cut WHERE b > a");
  }

  /** Tag, hour and mean of all tags and all hours. */
  String meansByHour(Statistic what) {
    return inWords(
        what == Statistic.MEAN
            ? "SELECT tag, time - time % {hour} AS hour, avg(value) FROM history"
                + " WHERE time >= :from AND time < :to AND quality = 192 GROUP BY tag, hour"
            : "SELECT tag, hour, " + CUT_AREA + " / " + CUT_LENGTH + " FROM (" + HOURLY_SPANS
                + ") AS cut WHERE b > a AND hour >= :from AND hour < :to GROUP BY tag, hour");
  }

  private String inWords(String sql) {
    String text = sql;
    for (Map.Entry<String, String> word : words.entrySet()) {
      text = text.replace(word.getKey(), word.getValue());
    }
    return text;
  }
}
