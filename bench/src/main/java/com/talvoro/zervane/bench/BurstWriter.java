package com.talvoro.zervane.bench;

/**
 * Writes batches in bursts: with the clock standing it prepares as many as memory may hold, with
 * the clock running it hands them over one after the other. So no cost of making records is
 * measured, and inside a burst the subject has no more time than the clock shows.
 */
final class BurstWriter {
  /** How batches are written. */
  enum How {
    DURABLE,
    NO_WAIT,
    LATE
  }

  /** Every run looks at one tag, which batches of any size reach soon. */
  private static final int WITNESS_TAG = 3;

  private static final long SEED = 20240229;

  private final Subject subject;
  private final How how;
  private final Generator generator;
  private final Witness witness = new Witness(WITNESS_TAG);
  private final Batch batch;
  private final Prepared[] prepared;

  /**
   * @param capacity the most records that are prepared at a time
   */
  BurstWriter(Subject subject, int tagCount, int batchSize, How how, int capacity) {
    this.subject = subject;
    this.how = how;
    generator = new Generator(SEED, tagCount);
    batch = new Batch(batchSize);
    prepared = new Prepared[Math.max(1, Math.min(capacity / batchSize, 100_000))];
  }

  /**
   * Writes batches.
   *
   * @return the seconds that the clock ran: from before the first call of each burst to after the
   *     last one, and when nothing waits, until everything is stored
   */
  double write(long batches) throws Exception {
    long nanos = 0;
    for (long left = batches; left > 0; left -= prepared.length) {
      int count = (int) Math.min(left, prepared.length);
      for (int i = 0; i < count; i++) {
        prepare(i);
      }
      long start = System.nanoTime();
      for (int i = 0; i < count; i++) {
        hand(prepared[i]);
      }
      if (how == How.NO_WAIT) {
        subject.flush();
      }
      nanos += System.nanoTime() - start;
    }
    return nanos / 1e9;
  }

  /**
   * Writes until some time has passed and everything is compiled.
   *
   * @return how many batches were written in a second at the end
   */
  double warmUp(double seconds) throws Exception {
    long end = System.nanoTime() + (long) (seconds * 1e9);
    long count = 1;
    while (true) {
      double taken = write(count);
      if (System.nanoTime() >= end) {
        return count / taken;
      }
      if (taken < seconds / 8) {
        count *= 2;
      }
    }
  }

  /** Reads one tag back and throws unless all that was written of it is there. */
  void verify() throws Exception {
    subject.flush();
    witness.verify(subject);
  }

  /** Notes the time of each of a number of calls, in nanoseconds. */
  long[] latencies(int count, Call call) throws Exception {
    long[] nanos = new long[count];
    for (int done = 0; done < count; done += prepared.length) {
      int burst = Math.min(count - done, prepared.length);
      for (int i = 0; i < burst; i++) {
        prepare(i);
      }
      for (int i = 0; i < burst; i++) {
        long start = System.nanoTime();
        call.make(prepared[i]);
        nanos[done + i] = System.nanoTime() - start;
      }
    }
    return nanos;
  }

  /** A call that takes a batch. */
  interface Call {
    void make(Prepared prepared) throws Exception;
  }

  private void prepare(int i) throws Exception {
    if (how == How.LATE) {
      generator.fillLate(batch);
    } else {
      generator.fill(batch);
    }
    witness.see(batch);
    prepared[i] = subject.prepare(batch, prepared[i]);
  }

  private void hand(Prepared next) throws Exception {
    switch (how) {
      case DURABLE -> subject.write(next, Durability.DURABLE);
      case NO_WAIT -> subject.write(next, Durability.NO_WAIT);
      case LATE -> subject.writeLate(next);
    }
  }
}
