package com.talvoro.zervane.bench;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrjni.ZRJniTime;
import java.nio.file.Path;
import java.util.Arrays;

/**
 * The native methods, as a Java program calls them. Which client library answers them is decided by
 * the folder that the virtual machine loads it from: the database, or the floor.
 */
final class ZervaneSubject implements Subject, ApiCalls {
  private static final byte FLOAT64 = 4;
  private static final long COLUMN_NAME = 1L;
  private static final long COLUMN_ARCHIVING = 1L << 1;
  private static final long COLUMN_TYPE = 1L << 18;

  private final String name;
  private final String settings;

  /** Identifiers by tag number; the last one is that of {@link #flush}. */
  private int[] ids;

  private ZRJniRecord[] records = new ZRJniRecord[0];
  private int[] codes = new int[0];
  private final ZRJniRecord single = new ZRJniRecord();
  private final IntWrapper type = new IntWrapper();
  private final ZRJniTime from = new ZRJniTime();
  private final ZRJniTime to = new ZRJniTime();

  private ZervaneSubject(String name, String settings) {
    this.name = name;
    this.settings = settings;
  }

  static ZervaneSubject ours() {
    return new ZervaneSubject(
        "Zervane",
        "embedded database through the Java API; a durable call is synced to the disk before it"
            + " returns; no exception reporting, no lossy compression");
  }

  static ZervaneSubject floor() {
    return new ZervaneSubject(
        "Floor", "the same Java calls and the same bridge on a client library that does nothing");
  }

  /** A batch as the native methods take it. */
  private record NativeBatch(int[] ids, ZRJniRecord[] records, int[] codes) implements Prepared {
    static NativeBatch ofSize(int size) {
      ZRJniRecord[] records = new ZRJniRecord[size];
      Arrays.setAll(records, i -> new ZRJniRecord());
      return new NativeBatch(new int[size], records, new int[size]);
    }
  }

  @Override
  public String name() {
    return name;
  }

  @Override
  public String version() {
    return "1.0.0";
  }

  @Override
  public String settings() {
    return settings;
  }

  @Override
  public void open(Path folder, int tagCount) throws Exception {
    boolean isNew = Folders.isEmpty(folder);
    check("connectEx", Jni_Zervane.connectEx("embedded:" + folder, 0, "", 0));
    String[] names = new String[tagCount + 1];
    Arrays.setAll(names, tag -> "BENCH." + tag);
    if (isNew) {
      addTags(names);
    }
    ids = new int[names.length];
    check(
        "queryTagIDsByNames",
        Jni_Zervane.queryTagIDsByNames(names, names.length, ids, new int[names.length]));
  }

  private static void addTags(String[] names) {
    ZRJniTagProp tag = new ZRJniTagProp();
    tag.m_tagType = FLOAT64;
    tag.m_archiving = true;
    for (String name : names) {
      tag.m_tagName = name;
      check("addTag", Jni_Zervane.addTag(tag, COLUMN_NAME | COLUMN_ARCHIVING | COLUMN_TYPE, 0));
    }
  }

  @Override
  public Prepared prepare(Batch batch, Prepared old) {
    NativeBatch prepared = old == null ? NativeBatch.ofSize(batch.size) : (NativeBatch) old;
    for (int i = 0; i < batch.size; i++) {
      prepared.ids[i] = ids[batch.tag[i]];
      ZRJniRecord record = prepared.records[i];
      record.nSec = seconds(batch.timeMs[i]);
      record.nMsec = milliseconds(batch.timeMs[i]);
      record.fFloat64 = batch.value[i];
      record.nQuality = batch.quality[i];
    }
    return prepared;
  }

  @Override
  public void write(Prepared prepared, Durability durability) {
    NativeBatch batch = (NativeBatch) prepared;
    int count = batch.ids.length;
    if (durability == Durability.DURABLE) {
      check(
          "saveSnapshots",
          Jni_Zervane.saveSnapshots(batch.ids, count, batch.records, batch.codes));
    } else {
      check(
          "saveSnapshotsNowait",
          Jni_Zervane.saveSnapshotsNowait(batch.ids, count, batch.records, batch.codes));
    }
  }

  @Override
  public void writeLate(Prepared prepared) {
    NativeBatch batch = (NativeBatch) prepared;
    check(
        "saveTagsDisorderSnapshots",
        Jni_Zervane.saveTagsDisorderSnapshots(
            batch.ids.length, batch.ids, batch.records, batch.codes));
  }

  @Override
  public void writeOne(Prepared prepared) {
    NativeBatch batch = (NativeBatch) prepared;
    check("saveSnapShot", Jni_Zervane.saveSnapShot(batch.ids[0], FLOAT64, batch.records[0]));
  }

  /** Writes are stored in the order of the calls, so one that waits has waited for all before. */
  @Override
  public void flush() {
    ZRJniRecord now = new ZRJniRecord();
    check("saveSnapShot", Jni_Zervane.saveSnapShot(ids[ids.length - 1], FLOAT64, now));
  }

  @Override
  public long readRaw(int tag, long fromMs, long toMs, int limit, Checksum checksum) {
    set(from, fromMs);
    set(to, toMs);
    makeRoom(limit);
    check(
        "queryRawRecords",
        Jni_Zervane.queryRawRecords(ids[tag], FLOAT64, from, to, limit, records));
    return sumUp(limit, checksum);
  }

  @Override
  public int readRawFrom(int tag, long fromMs, int count, Checksum checksum) {
    set(from, fromMs);
    makeRoom(count);
    check(
        "querySpecifyNumRawRecords",
        Jni_Zervane.querySpecifyNumRawRecords(ids[tag], FLOAT64, from, 0, count, records));
    return sumUp(count, checksum);
  }

  @Override
  public int readCurrent(int count, Checksum checksum) {
    makeRoom(count);
    check("querySnapShots", Jni_Zervane.querySnapShots(ids, count, records, codes));
    return sumUp(count, checksum);
  }

  @Override
  public void readCurrentOf(int tag, Checksum checksum) {
    check("querySnapShot", Jni_Zervane.querySnapShot(ids[tag], FLOAT64, single));
    add(single, checksum);
  }

  @Override
  public int tagType(int tag) {
    check("getTagType", Jni_Zervane.getTagType(ids[tag], type));
    return type.Value;
  }

  @Override
  public TagCalls tags() {
    return new ZervaneTags();
  }

  @Override
  public HistoryCalls history(int tagCount) {
    return new ZervaneHistory(this, ids);
  }

  @Override
  public void close() {
    check("disconnect", Jni_Zervane.disconnect());
  }

  /** Empties the array of records: what is not null afterwards was read. */
  private void makeRoom(int count) {
    if (records.length < count) {
      records = new ZRJniRecord[count];
      codes = new int[count];
    } else {
      Arrays.fill(records, 0, count, null);
    }
  }

  private int sumUp(int limit, Checksum checksum) {
    int count = 0;
    while (count < limit && records[count] != null) {
      add(records[count++], checksum);
    }
    return count;
  }

  private static void add(ZRJniRecord record, Checksum checksum) {
    long timeMs = Integer.toUnsignedLong(record.nSec) * 1000 + record.nMsec;
    checksum.add(timeMs, record.fFloat64, record.nQuality);
  }

  private static void set(ZRJniTime time, long timeMs) {
    time.nSec = seconds(timeMs);
    time.nMsec = milliseconds(timeMs);
  }

  private static int seconds(long timeMs) {
    return (int) (timeMs / 1000);
  }

  private static short milliseconds(long timeMs) {
    return (short) (timeMs % 1000);
  }

  private static void check(String call, int status) {
    if (status != 0) {
      throw new IllegalStateException(call + " returned " + status);
    }
  }
}
