package com.talvoro.zervane.bench;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.io.PrintWriter;
import java.lang.ProcessBuilder.Redirect;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.EnumMap;
import java.util.HashSet;
import java.util.List;
import java.util.Map;
import java.util.Set;
import java.util.Timer;
import java.util.TimerTask;
import java.util.concurrent.TimeUnit;

/** The parent's end of a {@link Worker}: a virtual machine with one subject, measured on order. */
final class WorkerProcess implements AutoCloseable {
  /** The same for every subject: a heap of fixed size, and no threads that collect its garbage. */
  private static final List<String> OPTIONS =
      List.of("-Xms2g", "-Xmx2g", "-XX:+UseSerialGC", "-Dfile.encoding=UTF-8");

  /** A round that takes longer than this is given up, and the process with it. */
  private static final int ROUND_LIMIT_MINUTES = 20;

  private static final int SECONDS_TO_END = 60;

  private final String subject;
  private final Path log;
  private final Process process;
  private final PrintWriter orders;
  private final BufferedReader answers;
  private final Set<String> asked = new HashSet<>();

  /** A round that did not succeed. */
  static final class Failure extends Exception {
    private static final long serialVersionUID = 1L;

    Failure(String message) {
      super(message);
    }
  }

  /** Starts a process that measures a subject in the folder of its name. */
  WorkerProcess(String subject, Options options) throws IOException {
    this.subject = subject;
    Path folder = options.dataFolder().resolve(subject);
    Files.createDirectories(folder);
    log = options.outputFolder().resolve(subject + ".log");
    process =
        new ProcessBuilder(command(subject, folder, options))
            .redirectError(Redirect.appendTo(log.toFile()))
            .start();
    orders =
        new PrintWriter(process.getOutputStream(), true, StandardCharsets.UTF_8);
    answers =
        new BufferedReader(
            new InputStreamReader(process.getInputStream(), StandardCharsets.UTF_8));
  }

  private static List<String> command(String subject, Path folder, Options options) {
    List<String> command = new ArrayList<>();
    command.add(Path.of(System.getProperty("java.home"), "bin", "java").toString());
    command.addAll(OPTIONS);
    command.addAll(Subjects.all().get(subject).get().virtualMachineOptions());
    command.add("-Dzervane.library.path=" + options.libraryFolder(subject));
    command.addAll(List.of("-cp", System.getProperty("java.class.path"), Worker.class.getName()));
    command.addAll(List.of(subject, folder.toString(), options.sizes().toString()));
    return command;
  }

  /** Whether a round of the workload has been asked for. */
  boolean hasRun(String workload) {
    return asked.contains(workload);
  }

  /** Has a round measured. */
  Map<Metric, Double> run(String workload, double seconds, double warmUpSeconds)
      throws IOException, Failure {
    asked.add(workload);
    orders.println(workload + " " + seconds + " " + warmUpSeconds);
    Watchdog watchdog = new Watchdog();
    String answer = readAnswer();
    watchdog.cancel();
    if (answer == null) {
      throw new Failure("the process ended, or took too long; see " + log);
    }
    String[] words = answer.split(" ");
    if (!words[0].equals(Worker.OK)) {
      throw new Failure(answer.substring(Worker.FAILED.length()).strip());
    }
    Map<Metric, Double> figures = new EnumMap<>(Metric.class);
    for (int i = 1; i < words.length; i++) {
      int equals = words[i].indexOf('=');
      figures.put(
          Metric.valueOf(words[i].substring(0, equals)),
          Double.valueOf(words[i].substring(equals + 1)));
    }
    return figures;
  }

  /** The next answer; null when the process has ended. */
  private String readAnswer() throws IOException {
    String line = answers.readLine();
    while (line != null && !line.startsWith(Worker.MARKER)) {
      line = answers.readLine();
    }
    return line == null ? null : line.substring(Worker.MARKER.length()).strip();
  }

  /** Ends the process of a round that takes too long. */
  private final class Watchdog extends Timer {
    private Watchdog() {
      super(true);
      schedule(
          new TimerTask() {
            @Override
            public void run() {
              process.destroyForcibly();
            }
          },
          TimeUnit.MINUTES.toMillis(ROUND_LIMIT_MINUTES));
    }
  }

  String subject() {
    return subject;
  }

  /** Lets the process end, and sees to it that it does. */
  @Override
  public void close() throws IOException {
    orders.close();
    try {
      if (!process.waitFor(SECONDS_TO_END, TimeUnit.SECONDS)) {
        process.destroyForcibly();
      }
    } catch (InterruptedException e) {
      process.destroyForcibly();
      Thread.currentThread().interrupt();
    }
    answers.close();
  }
}
