package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Batch;
import com.talvoro.zervane.bench.Durability;
import com.talvoro.zervane.bench.Prepared;
import com.talvoro.zervane.bench.Subject;

/**
 * A store that takes a batch as the columns it comes in. Preparing only copies them: whatever the
 * store's own interface asks for (binding, keys, rows, text) is written on the clock.
 */
abstract class Peer implements Subject {
  private record Columns(Batch batch) implements Prepared {}

  @Override
  public final Prepared prepare(Batch batch, Prepared old) {
    Columns columns = old == null ? new Columns(new Batch(batch.size)) : (Columns) old;
    System.arraycopy(batch.tag, 0, columns.batch.tag, 0, batch.size);
    System.arraycopy(batch.timeMs, 0, columns.batch.timeMs, 0, batch.size);
    System.arraycopy(batch.value, 0, columns.batch.value, 0, batch.size);
    System.arraycopy(batch.quality, 0, columns.batch.quality, 0, batch.size);
    return columns;
  }

  @Override
  public final void write(Prepared prepared, Durability durability) throws Exception {
    write(((Columns) prepared).batch, durability);
  }

  abstract void write(Batch batch, Durability durability) throws Exception;
}
