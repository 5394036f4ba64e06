package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.Marks.Mark;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.TreeSet;
import java.util.function.Supplier;
import java.util.stream.Collectors;

/**
 * The results as tables in Markdown: medians, and ± as half the way from the worst round to the
 * best. What was not measured has no row, a cell without a figure has a dash.
 */
final class Tables {
  private static final String NONE = "–";

  private final Options options;
  private final Machine machine;
  private final Results results;
  private final StringBuilder text = new StringBuilder();

  Tables(Options options, Machine machine, Results results) {
    this.options = options;
    this.machine = machine;
    this.results = results;
    machineTable();
    marks();
    againstFloor("Writing, in values per second", "write-");
    againstFloor("Reading, in values per second", "read-", "current-");
    latencies();
    storage();
    searches();
    histories();
    peers();
    settings();
    failures();
  }

  @Override
  public String toString() {
    return text.toString();
  }

  private void machineTable() {
    table(
        "The machine",
        List.of("", ""),
        machine.facts().entrySet().stream()
            .map(fact -> List.of(fact.getKey(), fact.getValue()))
            .toList());
  }

  private void marks() {
    List<List<String>> rows = new ArrayList<>();
    for (Mark mark : Marks.of(results)) {
      String verdict = mark.isReached() ? "reached" : "**missed**";
      rows.add(List.of(mark.what(), mark.goal(), mark.measured(), verdict));
    }
    table("The marks", List.of("", "Mark", "Measured", ""), rows);
  }

  private void againstFloor(String title, String... prefixes) {
    List<List<String>> rows = new ArrayList<>();
    for (Workload workload : Workloads.inRounds()) {
      String id = workload.id();
      if (Arrays.stream(prefixes).anyMatch(id::startsWith)
          && results.workloads().contains(id)) {
        rows.add(
            List.of(
                workload.title(),
                median(id, Subjects.OURS, Metric.VALUES_PER_SECOND),
                spread(id, Subjects.OURS, Metric.VALUES_PER_SECOND),
                median(id, Subjects.FLOOR, Metric.VALUES_PER_SECOND),
                spread(id, Subjects.FLOOR, Metric.VALUES_PER_SECOND),
                share(id)));
      }
    }
    table(
        title,
        List.of("", "Zervane", "±", "Floor", "±", "Of the floor"),
        rows);
  }

  private void latencies() {
    List<List<String>> rows = new ArrayList<>();
    for (Workload workload : Workloads.inRounds()) {
      String id = workload.id();
      if (workload instanceof LatencyWorkload && results.workloads().contains(id)) {
        rows.add(
            List.of(
                workload.title(),
                median(id, Subjects.OURS, Metric.P50_MICROS),
                median(id, Subjects.OURS, Metric.P99_MICROS),
                median(id, Subjects.FLOOR, Metric.P50_MICROS),
                median(id, Subjects.FLOOR, Metric.P99_MICROS)));
      }
    }
    table(
        "Single calls, in microseconds",
        List.of("", "Zervane p50", "p99", "Floor p50", "p99"),
        rows);
  }

  private void storage() {
    List<List<String>> rows = new ArrayList<>();
    for (Workload workload : Workloads.byId(options.sizes()).values()) {
      for (String subject : List.of(Subjects.OURS, Subjects.FLOOR)) {
        if (workload instanceof MemoryWorkload
            || subject.equals(Subjects.OURS) && isStorage(workload.id())) {
          figures(rows, workload, subject);
        }
      }
    }
    table("Disk, memory and opening", List.of("", "", "Measured"), rows);
  }

  private static boolean isStorage(String id) {
    return List.of(DataSet.ID, LargeStore.Fill.ID, LargeStore.Open.ID).contains(id)
        || id.startsWith("tags-fill-")
        || id.startsWith("tags-open-")
        || id.startsWith("history-fill-");
  }

  private void figures(List<List<String>> rows, Workload workload, String subject) {
    String id = workload.id();
    String figures =
        results.metrics(id, subject).stream()
            .map(metric -> median(id, subject, metric) + " " + metric.unit())
            .collect(Collectors.joining(", "));
    if (!figures.isEmpty()) {
      rows.add(List.of(workload.title(), nameOf(subject), figures));
    }
  }

  private void searches() {
    List<List<String>> rows = new ArrayList<>();
    for (int count : Workloads.searchedTags(options.mostTags())) {
      String id = TagWorkload.Search.id(count);
      for (Metric metric : results.metrics(id, Subjects.OURS)) {
        rows.add(
            List.of(
                String.format("%,d tags: %s", count, metric.unit()),
                median(id, Subjects.OURS, metric),
                spread(id, Subjects.OURS, metric),
                median(id, Subjects.SQLITE, metric),
                spread(id, Subjects.SQLITE, metric)));
      }
    }
    table("Finding tags", List.of("", "Zervane", "±", nameOf(Subjects.SQLITE), "±"), rows);
  }

  private void histories() {
    for (History history : History.all(options.historyRecords())) {
      for (Workload workload : history.questions()) {
        histories(workload, history.subjects(true));
      }
    }
  }

  private void histories(Workload workload, List<String> subjects) {
    String id = workload.id();
    Set<Metric> metrics = new TreeSet<>();
    List<String> header = new ArrayList<>(List.of(""));
    for (String subject : subjects) {
      metrics.addAll(results.metrics(id, subject));
      header.addAll(List.of(nameOf(subject).split(" ")[0], "±"));
    }
    List<List<String>> rows = new ArrayList<>();
    for (Metric metric : metrics) {
      List<String> row = new ArrayList<>(List.of(metric.unit()));
      for (String subject : subjects) {
        row.addAll(List.of(median(id, subject, metric), spread(id, subject, metric)));
      }
      rows.add(row);
    }
    table("History: " + workload.title(), header, rows);
  }

  private void peers() {
    List<Workload> workloads =
        Workloads.ofPeers().stream().filter(each -> !(each instanceof DataSet)).toList();
    List<String> header = new ArrayList<>(List.of(""));
    workloads.forEach(workload -> header.add(workload.title()));
    header.add("bytes/record");
    List<List<String>> rows = new ArrayList<>();
    for (String subject : results.subjects()) {
      boolean isMeasured =
          workloads.stream().anyMatch(each -> !results.metrics(each.id(), subject).isEmpty());
      if (isMeasured && !subject.equals(Subjects.FLOOR)) {
        List<String> row = new ArrayList<>(List.of(nameOf(subject)));
        workloads.forEach(
            workload -> row.add(median(workload.id(), subject, Metric.VALUES_PER_SECOND)));
        row.add(median(DataSet.ID, subject, Metric.BYTES_PER_RECORD));
        rows.add(row);
      }
    }
    if (rows.size() > 1) {
      table("Beside the peers, in values per second", header, rows);
    }
  }

  private void settings() {
    Map<String, Supplier<Subject>> all = Subjects.all();
    text.append("### Settings, and what is not equal\n\n");
    for (String id : results.subjects()) {
      Subject subject = all.get(id).get();
      text.append("- **").append(subject.name()).append("** ").append(subject.version());
      text.append(": ").append(subject.settings()).append(".\n");
    }
    text.append('\n');
  }

  private void failures() {
    table(
        "What failed",
        List.of("", "Why"),
        results.failures().entrySet().stream()
            .map(failure -> List.of(failure.getKey(), failure.getValue()))
            .toList());
  }

  private void table(String title, List<String> header, List<List<String>> rows) {
    if (rows.isEmpty()) {
      return;
    }
    text.append("### ").append(title).append("\n\n");
    row(header);
    row(header.stream().map(cell -> "---").toList());
    rows.forEach(this::row);
    text.append('\n');
  }

  private void row(List<String> cells) {
    text.append(
        cells.stream()
            .map(cell -> cell.replace("|", "\\|"))
            .collect(Collectors.joining(" | ", "| ", " |\n")));
  }

  private String median(String workload, String subject, Metric metric) {
    var median = results.median(workload, subject, metric);
    return median.isPresent() ? Format.number(median.getAsDouble()) : NONE;
  }

  private String spread(String workload, String subject, Metric metric) {
    double[] samples =
        results.rounds(workload, subject, metric).stream()
            .mapToDouble(Double::doubleValue)
            .toArray();
    return samples.length < 2 ? NONE : Format.percent(Statistics.spread(samples) / 2);
  }

  private String share(String workload) {
    var share = results.shareOfFloor(workload, Metric.VALUES_PER_SECOND);
    return share.isPresent() ? Format.percent(share.getAsDouble()) : NONE;
  }

  private static String nameOf(String subject) {
    return Subjects.all().get(subject).get().name();
  }
}
