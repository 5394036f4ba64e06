package com.talvoro.zervane.bench;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;

/** Writes a run down: figures for programs, tables and a plot for people. */
final class Report {
  private static final String BEGIN = "<!-- results: begin; written by scripts/bench -->\n";
  private static final String END = "<!-- results: end -->\n";

  private final Options options;
  private final Machine machine;
  private final Results results;

  Report(Options options, Machine machine, Results results) {
    this.options = options;
    this.machine = machine;
    this.results = results;
  }

  /** Writes the files of every run, the page of a full one, and the marks to the console. */
  void write() throws IOException {
    Path output = options.outputFolder();
    String tables = new Tables(options, machine, results).toString();
    String plot = new Plot(machine, results).toString();
    Files.writeString(output.resolve("results.json"), new ResultsJson(machine, results).toString());
    Files.writeString(output.resolve("results.md"), tables);
    Files.writeString(output.resolve("results.svg"), plot);
    if (options.isFull()) {
      Path page = options.project().resolve("bench/README.md");
      Files.writeString(page, withTables(Files.readString(page), tables));
      Files.writeString(page.resolveSibling("results.svg"), plot);
    }
    tell(output);
  }

  /** The page with new tables between its markers. */
  private static String withTables(String page, String tables) throws IOException {
    int begin = page.indexOf(BEGIN);
    int end = page.indexOf(END);
    if (begin < 0 || end < begin) {
      throw new IOException("bench/README.md has no place for the results");
    }
    return page.substring(0, begin + BEGIN.length()) + '\n' + tables + page.substring(end);
  }

  private void tell(Path output) {
    for (Marks.Mark mark : Marks.of(results)) {
      System.out.printf(
          "bench: %-50s %s (%s): %s%n",
          mark.what(), mark.measured(), mark.goal(), mark.isReached() ? "reached" : "MISSED");
    }
    results.failures().forEach((what, why) -> System.out.println("bench: " + what + ": " + why));
    System.out.println("bench: figures and plot in " + output + "/results.{json,md,svg}");
  }
}
