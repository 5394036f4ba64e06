package com.talvoro.zervane.bench;

import java.io.BufferedReader;
import java.io.IOException;
import java.io.InputStreamReader;
import java.io.PrintStream;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.Map;
import java.util.StringJoiner;
import java.util.concurrent.BlockingQueue;
import java.util.concurrent.LinkedBlockingQueue;

/**
 * A process that measures one subject. It takes the rounds line by line from its standard input
 * ("workload seconds warm-up-seconds") and answers each with a line ("ok METRIC=figure ...", or
 * "failed" and why) that begins with the marker; subjects may print whatever they like beside it.
 */
final class Worker {
  /** What every answer begins with: nothing else that comes out of the process is one. */
  static final String MARKER = "zervane-bench:";

  static final String OK = "ok";
  static final String FAILED = "failed";

  private Worker() {}

  /** Arguments: the subject, its folder, the sizes. */
  public static void main(String[] arguments) throws InterruptedException {
    PrintStream answers = System.out;
    System.setOut(System.err);
    String name = arguments[0];
    WorkSpace space =
        new WorkSpace(
            Path.of(arguments[1]), Subjects.all().get(name), !name.equals(Subjects.FLOOR));
    Map<String, Workload> workloads = Workloads.byId(Sizes.parse(arguments[2]));
    BlockingQueue<String> orders = new LinkedBlockingQueue<>();
    Thread reader = new Thread(() -> readOrders(orders), "orders");
    reader.setDaemon(true);
    reader.start();
    while (true) {
      String answer = answer(orders.take().split(" "), workloads, space);
      answers.println(MARKER + " " + answer);
      answers.flush();
    }
  }

  /** Ends the process with its parent, even in the middle of a round. */
  private static void readOrders(BlockingQueue<String> orders) {
    try (BufferedReader lines =
        new BufferedReader(new InputStreamReader(System.in, StandardCharsets.UTF_8))) {
      lines.lines().forEach(orders::add);
    } catch (IOException | UncheckedIOException e) {
      e.printStackTrace();
    } finally {
      System.exit(0);
    }
  }

  private static String answer(String[] order, Map<String, Workload> workloads, WorkSpace space) {
    try {
      Workload workload = workloads.get(order[0]);
      StringJoiner answer = new StringJoiner(" ");
      answer.add(OK);
      workload
          .run(space, Double.parseDouble(order[1]), Double.parseDouble(order[2]))
          .forEach((metric, figure) -> answer.add(metric + "=" + figure));
      return answer.toString();
    } catch (Exception | LinkageError e) {
      e.printStackTrace();
      return FAILED + " " + e.toString().replaceAll("\\s+", " ");
    }
  }
}
