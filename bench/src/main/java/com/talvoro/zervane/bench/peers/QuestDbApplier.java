package com.talvoro.zervane.bench.peers;

import io.questdb.cairo.CairoEngine;
import io.questdb.cairo.TableToken;
import io.questdb.cairo.wal.ApplyWal2TableJob;
import io.questdb.cairo.wal.CheckWalTransactionsJob;
import io.questdb.cairo.wal.WalPurgeJob;
import io.questdb.cairo.wal.seq.SeqTxnTracker;
import java.util.concurrent.locks.LockSupport;

/** Carries what was committed to QuestDB's journal into the table, as its server's workers do. */
final class QuestDbApplier implements AutoCloseable {
  private static final long IDLE_NS = 1_000_000;

  private final CairoEngine engine;
  private final TableToken table;
  private final SeqTxnTracker progress;
  private final Thread thread = new Thread(this::run, "questdb-applier");
  private volatile boolean isClosing;

  /** Starts the thread. */
  QuestDbApplier(CairoEngine engine, TableToken table) {
    this.engine = engine;
    this.table = table;
    progress = engine.getTableSequencerAPI().getTxnTracker(table);
    thread.start();
  }

  private void run() {
    try (ApplyWal2TableJob apply = new ApplyWal2TableJob(engine, 0);
        WalPurgeJob purge = new WalPurgeJob(engine)) {
      CheckWalTransactionsJob check = new CheckWalTransactionsJob(engine);
      while (!isClosing) {
        if (!apply.run(0)) {
          check.run(0);
          LockSupport.parkNanos(IDLE_NS);
        }
        purge.run(0);
      }
    }
  }

  /** Returns when at most {@code count} batches that were committed before are not in the table. */
  void awaitBacklog(long count) throws InterruptedException {
    long last = engine.getTableSequencerAPI().lastTxn(table);
    while (last - progress.getWriterTxn() > count) {
      if (progress.isSuspended() || !thread.isAlive()) {
        throw new IllegalStateException("QuestDB gave up: " + progress.getErrorMessage());
      }
      Thread.sleep(1);
    }
  }

  /** Lets everything reach the table, and deletes the journal, whose writers have to be closed. */
  @Override
  public void close() throws InterruptedException {
    try {
      awaitBacklog(0);
    } finally {
      isClosing = true;
      thread.join();
    }
    engine.releaseAllWalWriters();
    try (WalPurgeJob purge = new WalPurgeJob(engine)) { // a new one does not wait for its interval
      purge.run(0);
    }
  }
}
