package com.talvoro.zervane.bench;

import java.util.Arrays;
import java.util.List;
import java.util.Map;
import java.util.Random;

/** A database of many tags: adding them, opening it, its memory, and searches. */
final class TagWorkload {
  /** Fewer tags have no room for what is timed at the beginning and at the end. */
  static final int FEWEST_TAGS = 4_000;

  private static final int TIMED_TAGS = 1_000;
  private static final int PAGE = 1_000;
  private static final int RUNS = 20;
  private static final int WARM_UP_RUNS = 10;
  private static final TagPattern MEASURED = TagPattern.ofName("*.PV");

  private TagWorkload() {}

  private static String store(int count) {
    return "tags-store-" + count;
  }

  /**
   * Adds the tags; those behind the first thousand and the last thousand are timed one by one, and
   * after each thousand the files are looked at.
   */
  record Fill(int count) implements Workload {
    static String id(int count) {
      return "tags-fill-" + count;
    }

    @Override
    public String id() {
      return id(count);
    }

    @Override
    public String title() {
      return String.format("adding %,d tags one by one, durably", count);
    }

    @Override
    public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
        throws Exception {
      double early;
      double late;
      long most = 0;
      try (Subject subject = space.create(store(count), 0)) {
        TagCalls calls = subject.tags();
        calls.add(0, TIMED_TAGS);
        early = medianOfAdding(calls, TIMED_TAGS);
        int last = count - TIMED_TAGS;
        for (int from = 2 * TIMED_TAGS; from < last; from += TIMED_TAGS) {
          calls.add(from, Math.min(last, from + TIMED_TAGS));
          most = Math.max(most, space.sizeBytes(store(count)));
        }
        late = medianOfAdding(calls, last);
      }
      return Map.of(
          Metric.EARLY_ADD_MICROS, early,
          Metric.LATE_ADD_MICROS, late,
          Metric.DISK_MOST_MB, most / 1e6,
          Metric.DISK_MB, space.sizeBytes(store(count)) / 1e6);
    }

    private static double medianOfAdding(TagCalls calls, int from) throws Exception {
      double[] micros = new double[TIMED_TAGS];
      for (int i = 0; i < TIMED_TAGS; i++) {
        long start = System.nanoTime();
        calls.addOne(from + i);
        micros[i] = (System.nanoTime() - start) / 1e3;
      }
      return Statistics.median(micros);
    }
  }

  /** Opens them in a new process, up to the answer of a look-up; and what they take of memory. */
  record Open(int count) implements Workload {
    static String id(int count) {
      return "tags-open-" + count;
    }

    @Override
    public String id() {
      return id(count);
    }

    @Override
    public String title() {
      return String.format("opening %,d tags", count);
    }

    @Override
    public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
        throws Exception {
      try (Subject none = space.create("tags-none", 0)) {
        searchAll(none.tags(), 0); // what the library itself takes is taken here
      }
      System.gc();
      double before = MemoryWorkload.ownMemoryMb("VmRSS:");
      long start = System.nanoTime();
      try (Subject subject = space.open(store(count), 0)) {
        TagCalls calls = subject.tags();
        calls.first(TagPattern.ofName(TagSet.name(count - 1)));
        double millis = (System.nanoTime() - start) / 1e6;
        searchAll(calls, count);
        System.gc();
        double bytes = (MemoryWorkload.ownMemoryMb("VmRSS:") - before) * 1e6;
        return Map.of(Metric.OPEN_MS, millis, Metric.BYTES_PER_TAG, bytes / count);
      }
    }

    /** Whatever is made for searches is there afterwards. */
    private static void searchAll(TagCalls calls, int count) throws Exception {
      for (TagPattern pattern : searches(count)) {
        calls.first(pattern);
      }
      calls.count(MEASURED);
    }
  }

  /** First items, pages and counts, in milliseconds: medians of one process. */
  record Search(int count) implements Workload {
    static String id(int count) {
      return "tags-search-" + count;
    }

    @Override
    public String id() {
      return id(count);
    }

    @Override
    public String title() {
      return String.format("searching %,d tags", count);
    }

    @Override
    public Map<Metric, Double> run(WorkSpace space, double seconds, double warmUpSeconds)
        throws Exception {
      try (Subject subject = space.open(store(count), 0)) {
        TagCalls calls = subject.tags();
        double slowest = 0;
        for (TagPattern pattern : searches(count)) {
          slowest = Math.max(slowest, medianOf(() -> calls.first(pattern)));
        }
        Random random = new Random(9);
        Checksum checksum = new Checksum();
        // The last page begins where a thousand measured tags are left.
        int starts = Math.max(1, count - 4 * PAGE);
        double page =
            medianOf(
                () -> expect(PAGE, calls.page(random.nextInt(starts), PAGE, MEASURED, checksum)));
        double counting =
            medianOf(() -> expect(TagSet.measured(count), calls.count(MEASURED)));
        return Map.of(
            Metric.FIRST_ITEM_MS, slowest, Metric.PAGE_MS, page, Metric.COUNT_MS, counting);
      }
    }

    private interface Call {
      int run() throws Exception;
    }

    private static double medianOf(Call call) throws Exception {
      for (int i = 0; i < WARM_UP_RUNS; i++) {
        call.run();
      }
      double[] millis = new double[RUNS];
      for (int i = 0; i < RUNS; i++) {
        long start = System.nanoTime();
        call.run();
        millis[i] = (System.nanoTime() - start) / 1e6;
      }
      return Statistics.median(millis);
    }

    private static int expect(int expected, int found) {
      if (found != expected) {
        throw new IllegalStateException("found " + found + " tags, not " + expected);
      }
      return found;
    }
  }

  /** Searches of every kind: for all, for some, for the last one, for none. */
  private static List<TagPattern> searches(int count) {
    String last = TagSet.name(Math.max(0, count - 1));
    return Arrays.asList(
        TagPattern.ofName("*"),
        TagPattern.ofName("*.ALM"),
        TagPattern.ofName(last),
        TagPattern.ofName("*" + last.substring(4)),
        TagPattern.ofName(last.substring(0, 8) + "*" + last.substring(12)),
        TagPattern.ofName("*.NONE"),
        TagPattern.ofDescriptor("*pump " + last.substring(7, 14) + "*"),
        TagPattern.ofDescriptor("*?*no such*"));
  }
}
