package com.talvoro.zervane.demo;

import com.talvoro.zrjni.Jni_Zervane;
import java.io.IOException;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import java.time.Duration;
import java.time.Instant;
import java.time.temporal.ChronoUnit;
import java.util.List;
import java.util.Locale;

/**
 * Records this machine's own measurements for some seconds and shows what the database then holds.
 *
 * <p>Usage: {@code Demo [--redis HOST:PORT] [SECONDS [ADDRESS]]}, 10 seconds and the embedded
 * database unless told otherwise. Run again, it finds its tags and shows the history of earlier runs beside
 * its own. With a Redis, values and alarms are relayed to it meanwhile.
 */
public final class Demo {
  private Demo() {}

  /**
   * Runs the demo; ends with exit code 1 when anything fails.
   *
   * @param arguments seconds and address, both optional
   */
  public static void main(String[] arguments) {
    // The curves need UTF-8, whatever the locale says.
    System.setOut(new PrintStream(System.out, true, StandardCharsets.UTF_8));
    boolean isRelayed = arguments.length > 1 && arguments[0].equals("--redis");
    String redis = isRelayed ? arguments[1] : null;
    List<String> rest = List.of(arguments).subList(isRelayed ? 2 : 0, arguments.length);
    int seconds = rest.isEmpty() ? 10 : wholeNumber(rest.get(0));
    String address = rest.size() > 1 ? rest.get(1) : "";
    if (seconds < 1 || rest.size() > 2) {
      fail("usage: Demo [--redis HOST:PORT] [SECONDS [ADDRESS]]");
    }
    try {
      run(seconds, address, redis);
    } catch (Status.Failure | UnsatisfiedLinkError | IOException e) {
      fail(e.getMessage());
    } catch (InterruptedException e) {
      fail("interrupted");
    }
  }

  /** The number that a text is, or 0. */
  private static int wholeNumber(String text) {
    return text.matches("\\d{1,9}") ? Integer.parseInt(text) : 0;
  }

  private static void run(int seconds, String address, String redis)
      throws IOException, InterruptedException {
    Status.check("connectEx", Jni_Zervane.connectEx(address, 0, "", 0));
    System.out.printf(
        "Recording this machine for %d s into %s%n", seconds, Address.describe(address));
    Catalogue catalogue = Catalogue.open(Measurement.ALL);
    int tags = catalogue.tags().size();
    System.out.printf("%d tags, of which %d are new%n", tags, catalogue.created());
    if (redis != null) {
      Relay.start(redis);
    }
    Instant start = Instant.now().truncatedTo(ChronoUnit.MILLIS);
    Alarms alarms = Alarms.open();
    DerivedTags derived = DerivedTags.open(start);
    Viewer.open();
    Runnable follow =
        () -> {
          alarms.follow();
          derived.follow();
        };

    Duration time = Duration.ofSeconds(seconds);
    Burst.schedule(time.multipliedBy(3).dividedBy(10), time.dividedBy(4));
    Recorder recorder = new Recorder(catalogue.tags());
    recorder.record(seconds, follow);
    follow.run();

    Report report = new Report(catalogue.tags());
    report.printCatalogue();
    report.printSearches();
    report.printCurrentValues();
    History history = new History(start);
    report.printHistory(history);
    report.printStatistics(history);
    report.printOneAxis(history);
    report.printAlarms(alarms.since(start));
    derived.printSummary();
    if (redis != null) {
      Relay.stop();
    }
    Viewer.tryToWrite(catalogue.tags().get(0));
    printSummary(catalogue, history, recorder.recordsWritten());
    System.out.println("The database is " + Address.describe(address) + ".");
    Status.check("disconnect", Jni_Zervane.disconnect());
  }

  private static void printSummary(Catalogue catalogue, History history, long written) {
    long stored = catalogue.tags().stream().mapToLong(history::count).sum();
    Instant since =
        catalogue.tags().stream()
            .map(tag -> Text.instant(history.first(tag)))
            .min(Instant::compareTo)
            .orElseThrow();
    System.out.printf(
        Locale.ROOT,
        "%nThis run wrote %,d records; the database holds %,d since %s.%n",
        written,
        stored,
        Text.time(since));
  }

  private static void fail(String message) {
    System.err.println("Demo: " + message);
    System.exit(1);
  }
}
