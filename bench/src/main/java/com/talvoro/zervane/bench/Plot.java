package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.BurstWriter.How;
import com.talvoro.zervane.bench.RawReadWorkload.Call;
import java.util.ArrayList;
import java.util.Comparator;
import java.util.List;
import java.util.Locale;

/** Values per second as bars on a logarithmic scale, as SVG: a panel per workload. */
final class Plot {
  private record Panel(String title, String workload) {}

  private record Bar(String subject, double value) {}

  private static final List<Panel> PANELS =
      List.of(
          new Panel("Writing durably, batches of 10,000", Marks.DURABLE),
          new Panel("Writing without waiting, batches of 10,000", Marks.NO_WAIT),
          new Panel(
              "Writing with 20 % late, batches of 10,000",
              WriteWorkload.id(How.LATE, 10_000, 1_000)),
          new Panel(
              "Reading 10,000 raw records of a range", RawReadWorkload.id(Call.RANGE, 10_000)));

  private static final int WIDTH = 960;
  private static final int MARGIN = 28;
  private static final int HEADER_HEIGHT = 76;
  private static final int COLUMN_WIDTH = (WIDTH - 3 * MARGIN) / 2;
  private static final int LABEL_WIDTH = 116;
  private static final int VALUE_WIDTH = 52;
  private static final int TITLE_HEIGHT = 30;
  private static final int AXIS_HEIGHT = 34;
  private static final int BAR_PITCH = 25;
  private static final int BAR_HEIGHT = 17;

  private static final String INK = "#1f2933";
  private static final String FAINT_INK = "#7b8794";
  private static final String GRID = "#e4e7eb";
  private static final String OURS = "#0f766e";
  private static final String FLOOR = "#cbd2d9";
  private static final String PEER = "#8ea4c8";

  private final Results results;
  private final List<Panel> panels;
  private final int firstDecade;
  private final int lastDecade;
  private final StringBuilder svg = new StringBuilder();

  Plot(Machine machine, Results results) {
    this.results = results;
    panels = PANELS.stream().filter(panel -> !bars(panel).isEmpty()).toList();
    List<Double> values = panels.stream().flatMap(p -> bars(p).stream()).map(Bar::value).toList();
    firstDecade = (int) Math.floor(Math.log10(values.stream().min(Double::compare).orElse(1.0)));
    lastDecade = (int) Math.ceil(Math.log10(values.stream().max(Double::compare).orElse(10.0)));
    draw(machine);
  }

  @Override
  public String toString() {
    return svg.toString();
  }

  private void draw(Machine machine) {
    int panelHeight =
        TITLE_HEIGHT
            + AXIS_HEIGHT
            + BAR_PITCH * panels.stream().mapToInt(p -> bars(p).size()).max().orElse(0);
    int rows = (panels.size() + 1) / 2;
    int height = HEADER_HEIGHT + rows * (panelHeight + MARGIN);
    add(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%d\" height=\"%d\" viewBox=\"0 0 %d %d\""
            + " font-family=\"'Helvetica Neue', Arial, sans-serif\" font-size=\"12\">",
        WIDTH, height, WIDTH, height);
    add("<rect width=\"%d\" height=\"%d\" fill=\"#ffffff\"/>", WIDTH, height);
    text(MARGIN, 34, "start", INK, "19\" font-weight=\"600", "Values per second, from Java");
    text(MARGIN, 54, "start", FAINT_INK, "12", subtitle(machine));
    for (int i = 0; i < panels.size(); i++) {
      int x = MARGIN + i % 2 * (COLUMN_WIDTH + MARGIN);
      drawPanel(panels.get(i), x, HEADER_HEIGHT + i / 2 * (panelHeight + MARGIN));
    }
    add("</svg>");
  }

  private static String subtitle(Machine machine) {
    return String.format(
        "1,000 tags (reading: 200), %s cores, %s; logarithmic scale",
        machine.facts().get("Cores"), machine.facts().get("Date"));
  }

  private void drawPanel(Panel panel, int x, int y) {
    List<Bar> bars = bars(panel);
    text(x, y + 14, "start", INK, "13.5\" font-weight=\"600", panel.title);
    int top = y + TITLE_HEIGHT;
    drawGrid(x + LABEL_WIDTH, top, bars.size() * BAR_PITCH);
    for (int i = 0; i < bars.size(); i++) {
      drawBar(bars.get(i), x, top + i * BAR_PITCH);
    }
  }

  private void drawGrid(int x, int top, int height) {
    for (int decade = firstDecade; decade <= lastDecade; decade++) {
      double at = x + lengthOf(Math.pow(10, decade));
      add(
          "<line x1=\"%.1f\" y1=\"%d\" x2=\"%.1f\" y2=\"%d\" stroke=\"%s\"/>",
          at, top - 4, at, top + height, GRID);
      text(at, top + height + 16, "middle", FAINT_INK, "11", tick(decade));
    }
  }

  private void drawBar(Bar bar, int x, int y) {
    boolean isOurs = bar.subject.equals(Subjects.OURS);
    String weight = isOurs ? "12\" font-weight=\"600" : "12";
    int middle = y + BAR_HEIGHT / 2 + 4;
    double length = lengthOf(bar.value);
    String name = Subjects.all().get(bar.subject).get().name();
    text(x + LABEL_WIDTH - 8, middle, "end", INK, weight, name);
    add(
        "<rect x=\"%d\" y=\"%d\" width=\"%.1f\" height=\"%d\" rx=\"2\" fill=\"%s\"/>",
        x + LABEL_WIDTH, y, length, BAR_HEIGHT, colourOf(bar.subject));
    text(x + LABEL_WIDTH + length + 6, middle, "start", INK, weight, shortNumber(bar.value));
  }

  private double lengthOf(double value) {
    double decades = Math.log10(value) - firstDecade;
    return (COLUMN_WIDTH - LABEL_WIDTH - VALUE_WIDTH) * decades / (lastDecade - firstDecade);
  }

  private List<Bar> bars(Panel panel) {
    List<Bar> bars = new ArrayList<>();
    for (String subject : results.subjects()) {
      results
          .median(panel.workload, subject, Metric.VALUES_PER_SECOND)
          .ifPresent(value -> bars.add(new Bar(subject, value)));
    }
    bars.sort(Comparator.comparing(Bar::value).reversed());
    return bars;
  }

  private static String colourOf(String subject) {
    return switch (subject) {
      case Subjects.OURS -> OURS;
      case Subjects.FLOOR -> FLOOR;
      default -> PEER;
    };
  }

  /** A power of ten as the axis shows it. */
  private static String tick(int decade) {
    String zeros = "0".repeat(Math.floorMod(decade, 3));
    return "1" + zeros + List.of("", " k", " M", " G").get(decade / 3);
  }

  private static String shortNumber(double value) {
    if (value >= 999_500) {
      return Format.number(value / 1e6) + " M";
    }
    return value >= 999.5 ? Format.number(value / 1e3) + " k" : Format.number(value);
  }

  private void text(
      double x, double y, String anchor, String colour, String size, String content) {
    add(
        "<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"%s\" fill=\"%s\" font-size=\"%s\">%s</text>",
        x, y, anchor, colour, size, content.replace("&", "&amp;").replace("<", "&lt;"));
  }

  private void add(String format, Object... values) {
    svg.append(String.format(Locale.ROOT, format, values)).append('\n');
  }
}
