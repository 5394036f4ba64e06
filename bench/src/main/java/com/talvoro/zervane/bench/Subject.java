package com.talvoro.zervane.bench;

import java.nio.file.Path;
import java.util.List;

/**
 * What is measured: a store of process values. One instance works in one folder and is called by
 * one thread at a time; a new instance reads what an earlier one left there.
 *
 * <p>The constructor does nothing that costs time, so that a subject can be asked for its name.
 * {@link #open} comes before everything else but the descriptions. A call that fails throws,
 * and ends the measurement of this subject: nothing is measured that did not succeed.
 *
 * <p>Every accepted record is kept with its time (to the millisecond), value (all bits of the
 * double) and quality, and can be read back by tag and range of times.
 */
public interface Subject extends AutoCloseable {
  /** The name as the tables print it. */
  String name();

  /** The version of what is measured, as the tables print it. */
  String version();

  /**
   * How it is set up, in one line: what makes a write durable, the other settings that count, and
   * what is not equal to the other subjects.
   */
  String settings();

  /** Options that the virtual machine needs, beside those that all subjects get. */
  default List<String> virtualMachineOptions() {
    return List.of();
  }

  /**
   * Opens the store in a folder, which exists; when it is empty, makes the tags 0 to {@code
   * tagCount - 1} or the tables for them. Everything that is stored lives in the folder: its files
   * are what the disk space is measured by. After {@link #close} the folder can be copied, and the
   * copy opened.
   */
  void open(Path folder, int tagCount) throws Exception;

  /**
   * Does for a batch whatever a caller may have done before the clock runs, such as allocating and
   * filling the Java objects that are handed over. What {@link #write} is measured for (encoding,
   * copying to native memory, making statements or keys) does not belong here.
   *
   * @param batch read before this returns; its arrays change afterwards
   * @param old an earlier result of this method for a batch of the same size, which is not needed
   *     any more and may be filled and returned again; null when there is none
   */
  Prepared prepare(Batch batch, Prepared old) throws Exception;

  /** Writes a batch whose records are in order for each tag and newer than all that it has. */
  void write(Prepared prepared, Durability durability) throws Exception;

  /**
   * Writes a batch, durably, of which some records are older than records that are stored already,
   * by up to a year.
   */
  default void writeLate(Prepared prepared) throws Exception {
    write(prepared, Durability.DURABLE);
  }

  /** Makes all earlier writes durable and readable. */
  void flush() throws Exception;

  /**
   * Reads the oldest records of a tag in a range of times, oldest first, as Java values (long,
   * double, int), and adds each to the checksum.
   *
   * @param fromMs the first time that counts
   * @param toMs the last time that counts
   * @param limit the most records to read
   * @return how many were read
   */
  long readRaw(int tag, long fromMs, long toMs, int limit, Checksum checksum) throws Exception;

  /** The store's tags, for those that are measured by searches. */
  default TagCalls tags() throws Exception {
    throw new UnsupportedOperationException(name() + " has no table of tags");
  }

  /**
   * The store's history, for those that are asked about it.
   *
   * @param tagCount how many tags it has, or will have
   */
  default HistoryCalls history(int tagCount) throws Exception {
    throw new UnsupportedOperationException(name() + " answers no questions about a history");
  }

  /** Stores everything and releases every resource, processes that were started included. */
  @Override
  void close() throws Exception;
}
