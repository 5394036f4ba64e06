package com.talvoro.zervane.bench;

import java.nio.file.Path;
import java.util.regex.Pattern;

/**
 * What the command line asks for.
 *
 * @param rounds how often ours and the floor are measured in turn
 * @param seconds how long a round is measured
 * @param warmUpSeconds how long a process runs a workload before its first round
 * @param largeRecords how many records the large database has; 0 for none
 * @param mostTags how many tags the largest searched database has; 0 for no searches
 * @param historyRecords how many records the longest history of a tag has; 0 for no histories
 * @param withPeers whether peers are measured
 * @param isList whether the workloads are only to be listed
 * @param only what is found in the identifiers of the workloads that are to be measured
 * @param project the project's folder
 */
record Options(
    int rounds,
    double seconds,
    double warmUpSeconds,
    long largeRecords,
    int mostTags,
    long historyRecords,
    boolean withPeers,
    boolean isList,
    Pattern only,
    Path project) {
  private static final String USAGE =
      """
      usage: scripts/bench [--quick] [--only PATTERN] [--rounds N] [--seconds S] [--no-peers]
                           [--large RECORDS] [--tags TAGS] [--history RECORDS] [--list]
        --quick    about a minute: the workloads that the marks are on, two short rounds, no peers,
                   no large database, no searches, no histories
        --only     the workloads in whose identifiers the regular expression is found
        --rounds   rounds of ours and the floor (5)
        --seconds  how long a round is measured (1); the first is preceded by twice that
        --no-peers ours and the floor alone
        --large    how many records the large database has (100000000); 0 for none
        --tags     how many tags the largest searched database has (1000000), from 40000; 0 for none
        --history  how many records the longest history of a tag has (100000000), from 1000000; the
                   others have shares of it; 0 for none
        --list     shows the identifiers of the workloads, and measures nothing
      A full run writes bench/README.md and bench/results.svg, every run build/bench/results.*
      """;

  /** The workloads of a quick run. */
  private static final String QUICK =
      "write-.*-10000-1000$|read-range-10000$|read-from-1000$|latency-save$|" + DataSet.ID;

  static Options parse(String[] arguments, Path project) {
    int rounds = 5;
    double seconds = 1;
    long largeRecords = 100_000_000;
    int mostTags = 1_000_000;
    long historyRecords = 100_000_000;
    boolean withPeers = true;
    boolean isList = false;
    String only = "";
    for (int i = 0; i < arguments.length; i++) {
      switch (arguments[i]) {
        case "--quick" -> {
          rounds = 2;
          withPeers = false;
          largeRecords = 0;
          mostTags = 0;
          historyRecords = 0;
          only = QUICK;
        }
        case "--no-peers" -> withPeers = false;
        case "--list" -> isList = true;
        case "--only" -> only = valueOf(arguments, ++i);
        case "--rounds" -> rounds = Integer.parseInt(valueOf(arguments, ++i));
        case "--seconds" -> seconds = Double.parseDouble(valueOf(arguments, ++i));
        case "--large" -> largeRecords = Long.parseLong(valueOf(arguments, ++i));
        case "--tags" -> mostTags = Integer.parseInt(valueOf(arguments, ++i));
        case "--history" -> historyRecords = Long.parseLong(valueOf(arguments, ++i));
        default -> throw new IllegalArgumentException(USAGE);
      }
    }
    return new Options(
        rounds,
        seconds,
        2 * seconds,
        largeRecords,
        mostTags,
        historyRecords,
        withPeers,
        isList,
        Pattern.compile(only),
        project);
  }

  private static String valueOf(String[] arguments, int i) {
    if (i == arguments.length) {
      throw new IllegalArgumentException(USAGE);
    }
    return arguments[i];
  }

  /** Whether a workload is to be measured. */
  boolean asksFor(String workload) {
    return only.matcher(workload).find();
  }

  /** Whether this is a run whose results are published. */
  boolean isFull() {
    return only.pattern().isEmpty()
        && withPeers
        && largeRecords > 0
        && mostTags > 0
        && historyRecords > 0;
  }

  /** How much there is of what can be had in different sizes. */
  Sizes sizes() {
    return new Sizes(largeRecords, mostTags, historyRecords);
  }

  /** Where results and logs go. */
  Path outputFolder() {
    return project.resolve("build/bench");
  }

  /** Where the stores are while they are measured. */
  Path dataFolder() {
    return outputFolder().resolve("data");
  }

  /** The native libraries that a subject's process loads. */
  Path libraryFolder(String subject) {
    return project.resolve(
        subject.equals(Subjects.FLOOR) ? "build/release/lib-floor" : "build/dist/lib");
  }
}
