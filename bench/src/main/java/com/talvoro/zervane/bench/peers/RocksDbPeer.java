package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Batch;
import com.talvoro.zervane.bench.Checksum;
import com.talvoro.zervane.bench.Durability;
import java.nio.ByteBuffer;
import java.nio.file.Path;
import org.rocksdb.CompressionType;
import org.rocksdb.FlushOptions;
import org.rocksdb.Options;
import org.rocksdb.ReadOptions;
import org.rocksdb.RocksDB;
import org.rocksdb.RocksDBException;
import org.rocksdb.RocksIterator;
import org.rocksdb.WriteBatch;
import org.rocksdb.WriteOptions;

/**
 * RocksDB in this process: a key per record, tag and time big-endian, so that the records of a tag
 * lie one after the other; the value is the double and the quality.
 */
final class RocksDbPeer extends Peer {
  private static final int KEY_BYTES = Integer.BYTES + Long.BYTES;
  private static final int VALUE_BYTES = Double.BYTES + Short.BYTES;
  private static final long WRITE_BUFFER_BYTES = 128L << 20;

  private final ByteBuffer key = ByteBuffer.allocate(KEY_BYTES);
  private final ByteBuffer value = ByteBuffer.allocate(VALUE_BYTES);
  private Options options;
  private WriteOptions durable;
  private WriteOptions noWait;
  private WriteBatch writes;
  private RocksDB database;

  @Override
  public String name() {
    return "RocksDB JNI";
  }

  @Override
  public String version() {
    return Jar.version(RocksDB.class);
  }

  @Override
  public String settings() {
    return "in process; one key per record, one WriteBatch per batch, sync=true (no-wait: false),"
        + " 128 MiB write buffers, 2 background jobs, recycled journal files, LZ4 and ZSTD at the"
        + " last level";
  }

  @Override
  public void open(Path folder, int tagCount) throws RocksDBException {
    RocksDB.loadLibrary();
    options =
        new Options()
            .setCreateIfMissing(true)
            .setWriteBufferSize(WRITE_BUFFER_BYTES)
            .setMaxWriteBufferNumber(4)
            .setMaxBackgroundJobs(2)
            .setRecycleLogFileNum(4)
            .setCompressionType(CompressionType.LZ4_COMPRESSION)
            .setBottommostCompressionType(CompressionType.ZSTD_COMPRESSION);
    durable = new WriteOptions().setSync(true);
    noWait = new WriteOptions();
    writes = new WriteBatch();
    database = RocksDB.open(options, folder.toString());
  }

  private byte[] keyOf(int tag, long timeMs) {
    return key.putInt(0, tag).putLong(Integer.BYTES, timeMs).array();
  }

  @Override
  void write(Batch batch, Durability durability) throws RocksDBException {
    writes.clear();
    for (int i = 0; i < batch.size; i++) {
      value.putDouble(0, batch.value[i]).putShort(Double.BYTES, (short) batch.quality[i]);
      writes.put(keyOf(batch.tag[i], batch.timeMs[i]), value.array());
    }
    database.write(durability == Durability.DURABLE ? durable : noWait, writes);
  }

  @Override
  public void flush() throws RocksDBException {
    database.syncWal();
  }

  @Override
  public long readRaw(int tag, long fromMs, long toMs, int limit, Checksum checksum)
      throws RocksDBException {
    long count = 0;
    try (ReadOptions readOptions = new ReadOptions();
        RocksIterator records = database.newIterator(readOptions)) {
      for (records.seek(keyOf(tag, fromMs)); count < limit && records.isValid(); records.next()) {
        records.key(key.array());
        if (key.getInt(0) != tag || key.getLong(Integer.BYTES) > toMs) {
          break;
        }
        records.value(value.array());
        int quality = Short.toUnsignedInt(value.getShort(Double.BYTES));
        checksum.add(key.getLong(Integer.BYTES), value.getDouble(0), quality);
        count++;
      }
      records.status();
    }
    return count;
  }

  @Override
  public void close() throws RocksDBException {
    if (database != null) {
      try (FlushOptions toTables = new FlushOptions().setWaitForFlush(true)) {
        database.flush(toTables);
      }
      database.closeE();
    }
    if (options != null) {
      writes.close();
      noWait.close();
      durable.close();
      options.close();
    }
  }
}
