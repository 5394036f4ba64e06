package com.talvoro.zervane.demo;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;
import java.time.Instant;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;
import java.util.stream.DoubleStream;

/**
 * Prints what the database holds: its tags, some that a search finds, their current values, their
 * history, and what the history says together.
 */
final class Report {
  private static final int EARLIER_COLUMNS = 24;
  private static final int THIS_RUN_COLUMNS = 36;
  private static final int AXIS_ROWS = 6;
  private static final List<String> ON_ONE_AXIS = List.of("HOST.CPU.BUSY", "HOST.MEM.USED");

  private final List<Catalogue.Tag> tags;

  Report(List<Catalogue.Tag> tags) {
    this.tags = tags;
  }

  void printCatalogue() {
    heading("Catalogue");
    row("%4s  %-20s %-8s %-6s %6s  %s", "ID", "TAG", "TYPE", "UNIT", "SPAN", "DESCRIPTION");
    for (Catalogue.Tag tag : tags) {
      ZRJniTagProp properties = new ZRJniTagProp();
      Status.check("getTag", Jni_Zervane.getTag(tag.id(), properties));
      row(
          "%4d  %-20s %-8s %-6s %6s  %s",
          properties.m_tagID,
          properties.m_tagName,
          TagType.values()[properties.m_tagType],
          properties.m_engUnits,
          properties.m_span == 0 ? "" : String.valueOf((int) properties.m_span),
          properties.m_descriptor);
    }
  }

  void printSearches() {
    heading("Search");
    printFound("named *.CPU.*", Search.named("*.CPU.*"));
    row("%d tags in %%", Search.countInUnit("%"));
    int behind = tags.get(tags.size() / 2).id();
    printFound(
        "in a page of 3 of HOST.* from identifier " + behind + " on",
        Search.page("HOST.*", behind, 3));
  }

  private static void printFound(String how, List<Search.Found> found) {
    row("%d tags %s", found.size(), how);
    for (Search.Found tag : found) {
      row("%4d  %-20s %s", tag.id(), tag.name(), tag.description());
    }
  }

  void printCurrentValues() {
    heading("Current values");
    row("%-20s %20s %-6s %8s  %s", "TAG", "VALUE", "UNIT", "QUALITY", "TIME");
    int[] ids = tags.stream().mapToInt(Catalogue.Tag::id).toArray();
    ZRJniRecord[] records = new ZRJniRecord[ids.length];
    int status = Jni_Zervane.querySnapShots(ids, ids.length, records, new int[ids.length]);
    Status.check("querySnapShots", status);
    for (int i = 0; i < records.length; i++) {
      Measurement measurement = tags.get(i).measurement();
      TagType type = measurement.type();
      row(
          "%-20s %20.20s %-6s %8d  %s",
          measurement.tagName(),
          Text.value(type, type.load(records[i])),
          measurement.unit(),
          records[i].nQuality,
          Text.time(Text.instant(records[i])));
    }
  }

  /** Prints a curve for every tag, or for a text its last values. */
  void printHistory(History history) {
    heading("History, its curves over up to " + History.MOST_RECORDS + " records");
    historyRow("TAG", "RECORDS", "SINCE", "LEAST", "GREATEST", "EARLIER RUNS", "THIS RUN");
    for (Catalogue.Tag tag : tags) {
      Measurement measurement = tag.measurement();
      String name = measurement.tagName();
      String count = String.format(Locale.ROOT, "%,d", history.count(tag));
      String since = Text.time(Text.instant(history.first(tag)));
      ZRJniRecord[] earlier = history.beforeThisRun(tag);
      ZRJniRecord[] thisRun = history.ofThisRun(tag);
      if (measurement.type() == TagType.STRING) {
        historyRow(name, count, since, "", "", lastText(earlier), lastText(thisRun));
      } else {
        Curves curves = Curves.of(measurement.type(), earlier, thisRun);
        historyRow(
            name, count, since, curves.least, curves.greatest, curves.earlier, curves.thisRun);
      }
    }
  }

  private static void historyRow(Object... cells) {
    row("%-20s %8s  %-19s %10s %10s  %24.24s │ %.36s", cells);
  }

  /** The curves of two lots of records on one scale, and the ends of the scale. */
  private record Curves(String least, String greatest, String earlier, String thisRun) {
    static Curves of(TagType type, ZRJniRecord[] earlier, ZRJniRecord[] thisRun) {
      double[] before = History.numbers(type, earlier);
      double[] now = History.numbers(type, thisRun);
      double[] all = DoubleStream.concat(Arrays.stream(before), Arrays.stream(now)).toArray();
      double least = Arrays.stream(all).min().orElse(0);
      double greatest = Arrays.stream(all).max().orElse(0);
      return new Curves(
          Text.value(type, least),
          Text.value(type, greatest),
          Sparkline.draw(before, EARLIER_COLUMNS, least, greatest),
          Sparkline.draw(now, THIS_RUN_COLUMNS, least, greatest));
    }
  }

  /** Prints what the records of this run say together, of a text only how much of it is good. */
  void printStatistics(History history) {
    heading("Statistics of this run");
    statisticsRow("TAG", "MEAN", "LEAST", "GREATEST", "MEAN BY TIME", "UNIT", "GOOD");
    for (Catalogue.Tag tag : tags) {
      Statistics statistics = new Statistics(tag, history.ofThisRun(tag));
      String name = tag.measurement().tagName();
      String unit = tag.measurement().unit();
      String good = decimal(statistics.percentGood()) + " %";
      if (tag.measurement().type().isNumeric()) {
        statisticsRow(
            name,
            decimal(statistics.mean()),
            decimal(statistics.least()),
            decimal(statistics.greatest()),
            decimal(statistics.timeWeightedMean()),
            unit,
            good);
      } else {
        statisticsRow(name, "", "", "", "", unit, good);
      }
    }
  }

  private static void statisticsRow(Object... cells) {
    row("%-20s %12s %12s %12s %14s %-6s %8s", cells);
  }

  /** Prints two tags at the same instants, computed on the lines between their records. */
  void printOneAxis(History history) {
    List<Catalogue.Tag> pair = List.of(named(ON_ONE_AXIS.get(0)), named(ON_ONE_AXIS.get(1)));
    heading("Two tags on one time axis");
    row("%-23s %20s %20s", "TIME", ON_ONE_AXIS.get(0), ON_ONE_AXIS.get(1));
    ZRJniRecord[] run = history.ofThisRun(pair.get(0));
    TimeAxis axis =
        new TimeAxis(Text.instant(run[0]), Text.instant(run[run.length - 1]), AXIS_ROWS);
    ZRJniRecord[] records = axis.read(pair);
    for (int i = 0; i < AXIS_ROWS; i++) {
      row(
          "%-23s %20s %20s",
          Text.preciseTime(axis.instants().get(i)),
          Text.withUnit(pair.get(0).measurement(), records[2 * i]),
          Text.withUnit(pair.get(1).measurement(), records[2 * i + 1]));
    }
  }

  /** Prints the alarms of this run, with who has seen them. */
  void printAlarms(List<ZRJniAlarmRecord> records) {
    heading("Alarms of this run");
    row("%-23s  %-23s  %-31s  %-8s %s", "RAISED", "RETURNED", "ALARM", "SEEN BY", "COMMENT");
    for (ZRJniAlarmRecord record : records) {
      Instant end = Alarms.endOf(record);
      row(
          "%-23s  %-23s  %-31s  %-8s %s",
          Text.preciseTime(Alarms.startOf(record)),
          end == null ? "it stands" : Text.preciseTime(end),
          Alarms.describe(record),
          record.strAcker,
          record.strComment);
    }
  }

  private Catalogue.Tag named(String name) {
    return tags.stream()
        .filter(tag -> tag.measurement().tagName().equals(name))
        .findFirst()
        .orElseThrow();
  }

  private static String decimal(double value) {
    return Text.value(TagType.FLOAT64, value);
  }

  private static String lastText(ZRJniRecord[] records) {
    return records.length == 0 ? "" : records[records.length - 1].strValue;
  }

  private static void heading(String text) {
    System.out.println();
    System.out.println(text);
  }

  private static void row(String format, Object... arguments) {
    System.out.println(String.format(Locale.ROOT, "  " + format, arguments).stripTrailing());
  }
}
