package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.WorkerProcess.Failure;
import com.talvoro.zervane.bench.peers.Peers;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.HashSet;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;

/** Measures what the command line asks for, and writes the results down. */
public final class Bench {
  /** A process's rounds after its first find everything compiled; the stores are new, though. */
  private static final double SHORT_WARM_UP_SECONDS = 0.3;

  private static final int PEER_ROUNDS = 3;
  private static final int OPENINGS = 5;
  private static final double LONG_ROUND_SECONDS = 20;

  private final Options options;
  private final Results results = new Results();

  private Bench(Options options) {
    this.options = options;
  }

  /** Arguments: the project's folder, then the options. */
  public static void main(String[] arguments) throws IOException {
    Locale.setDefault(Locale.ROOT);
    Path project = Path.of(arguments[0]).toAbsolutePath().normalize();
    try {
      String[] words = Arrays.copyOfRange(arguments, 1, arguments.length);
      new Bench(Options.parse(words, project)).run();
    } catch (IllegalArgumentException e) {
      System.err.println(e.getMessage());
      System.exit(2);
    }
  }

  private void run() throws IOException {
    if (options.isList()) {
      Workloads.byId(options.sizes()).keySet().forEach(System.out::println);
      return;
    }
    Folders.delete(options.dataFolder());
    Files.createDirectories(options.dataFolder());
    Machine machine = Machine.describe(options.dataFolder());
    measureAgainstFloor();
    for (String subject : List.of(Subjects.FLOOR, Subjects.OURS)) {
      for (Workload workload : Workloads.ofMemory()) {
        measureInOwnProcess(subject, workload.id(), 1);
      }
    }
    if (options.largeRecords() > 0) {
      measureInOwnProcess(Subjects.OURS, LargeStore.Fill.ID, 1);
      measureInOwnProcess(Subjects.OURS, LargeStore.Open.ID, OPENINGS);
    }
    for (int count : Workloads.searchedTags(options.mostTags())) {
      measureTags(count);
    }
    for (History history : History.all(options.historyRecords())) {
      measureHistory(history);
    }
    if (options.withPeers()) {
      Peers.all().keySet().forEach(this::measurePeer);
    }
    Folders.delete(options.dataFolder());
    new Report(options, machine, results).write();
  }

  /** Ours and the floor in turn, so that what slows the machine for a while slows both. */
  private void measureAgainstFloor() throws IOException {
    try (WorkerProcess floor = new WorkerProcess(Subjects.FLOOR, options);
        WorkerProcess ours = new WorkerProcess(Subjects.OURS, options)) {
      measureInTurn(Workloads.inRounds(), options.rounds(), List.of(floor, ours));
    }
  }

  /** Ours and, as a peer, the store that people would search instead. */
  private void measureTags(int count) throws IOException {
    List<String> subjects =
        options.withPeers() ? List.of(Subjects.OURS, Subjects.SQLITE) : List.of(Subjects.OURS);
    for (String subject : subjects) {
      measureInOwnProcess(subject, TagWorkload.Fill.id(count), 1);
    }
    measureInOwnProcess(Subjects.OURS, TagWorkload.Open.id(count), OPENINGS);
    for (int round = 1; round <= PEER_ROUNDS; round++) {
      for (String subject : subjects) {
        measureInOwnProcess(subject, TagWorkload.Search.id(count), 1);
      }
    }
  }

  /** Fills the stores of a history, asks what there is to ask, and deletes them. */
  private void measureHistory(History history) throws IOException {
    List<Workload> questions =
        history.questions().stream().filter(each -> options.asksFor(each.id())).toList();
    List<String> subjects = history.subjects(options.withPeers());
    if (!questions.isEmpty()) {
      fill(history, subjects);
    }
    for (Workload question : questions) {
      ask(
          question,
          subjects.stream()
              .filter(subject -> !results.hasFailed(history.fill().id(), subject))
              .toList());
    }
    for (String subject : subjects) {
      Folders.delete(options.dataFolder().resolve(subject).resolve(history.set().store()));
    }
  }

  /** Nothing of it is timed, so all may have the machine at the same time. */
  private void fill(History history, List<String> subjects) {
    String id = history.fill().id();
    System.out.printf("bench: %-26s %s%n", id, String.join(", ", subjects));
    Map<String, Map<Metric, Double>> figures = new ConcurrentHashMap<>();
    Map<String, String> failures = new ConcurrentHashMap<>();
    subjects.parallelStream()
        .forEach(
            subject -> {
              try (WorkerProcess worker = new WorkerProcess(subject, options)) {
                figures.put(subject, worker.run(id, options.seconds(), 0));
              } catch (Failure | IOException e) {
                failures.put(subject, String.valueOf(e.getMessage()));
              }
            });
    for (String subject : subjects) { // in their order
      if (figures.containsKey(subject)) {
        results.add(id, subject, figures.get(subject));
      } else {
        results.addFailure(id, subject, failures.get(subject));
      }
    }
  }

  /**
   * Ours and the peers in turn, each round in a process of its own. What takes long is measured
   * once.
   */
  private void ask(Workload question, List<String> subjects) throws IOException {
    Set<String> done = new HashSet<>();
    for (int round = 1; round <= PEER_ROUNDS; round++) {
      for (String subject : subjects) {
        if (done.contains(subject)) {
          continue;
        }
        long start = System.nanoTime();
        try (WorkerProcess worker = new WorkerProcess(subject, options)) {
          measure(worker, question.id(), round, PEER_ROUNDS);
        }
        boolean isLong = (System.nanoTime() - start) / 1e9 > LONG_ROUND_SECONDS;
        if (isLong || results.hasFailed(question.id(), subject)) {
          done.add(subject);
        }
      }
    }
  }

  private void measurePeer(String subject) {
    try (WorkerProcess peer = new WorkerProcess(subject, options)) {
      measureInTurn(Workloads.ofPeers(), PEER_ROUNDS, List.of(peer));
    } catch (IOException e) {
      results.addFailure("all", subject, e.toString());
    }
  }

  private void measureInTurn(List<Workload> workloads, int rounds, List<WorkerProcess> workers)
      throws IOException {
    for (Workload workload : asked(workloads)) {
      int times = Workloads.rounds(workload, rounds);
      for (int round = 1; round <= times; round++) {
        for (WorkerProcess worker : workers) {
          measure(worker, workload.id(), round, times);
        }
      }
    }
  }

  /** What the command line asks for, and the data set when it is to be read. */
  private List<Workload> asked(List<Workload> workloads) {
    boolean isDataSetRead =
        workloads.stream()
            .anyMatch(each -> each instanceof RawReadWorkload && options.asksFor(each.id()));
    return workloads.stream()
        .filter(each -> options.asksFor(each.id()) || each instanceof DataSet && isDataSetRead)
        .toList();
  }

  private void measureInOwnProcess(String subject, String workload, int times) throws IOException {
    for (int round = 1; options.asksFor(workload) && round <= times; round++) {
      try (WorkerProcess worker = new WorkerProcess(subject, options)) {
        measure(worker, workload, round, times);
      }
    }
  }

  /** One round, told on the console. A workload that failed once is not tried again. */
  private void measure(WorkerProcess worker, String workload, int round, int rounds)
      throws IOException {
    if (results.hasFailed(workload, worker.subject())) {
      return;
    }
    System.out.printf("bench: %-26s %d/%d  %-10s ", workload, round, rounds, worker.subject());
    System.out.flush();
    try {
      double warmUp =
          worker.hasRun(workload) ? SHORT_WARM_UP_SECONDS : options.warmUpSeconds();
      Map<Metric, Double> figures = worker.run(workload, options.seconds(), warmUp);
      results.add(workload, worker.subject(), figures);
      System.out.println(Format.figures(figures) + floorShare(worker, workload, figures));
    } catch (Failure e) {
      results.addFailure(workload, worker.subject(), e.getMessage());
      System.out.println("FAILED: " + e.getMessage());
    }
  }

  /** How ours compares with the floor's round just before. */
  private String floorShare(WorkerProcess worker, String workload, Map<Metric, Double> figures) {
    List<Double> floor = results.rounds(workload, Subjects.FLOOR, Metric.VALUES_PER_SECOND);
    Double ours = figures.get(Metric.VALUES_PER_SECOND);
    if (!worker.subject().equals(Subjects.OURS) || floor.isEmpty() || ours == null) {
      return "";
    }
    return String.format("  %.0f %% of the floor", 100 * ours / floor.get(floor.size() - 1));
  }
}
