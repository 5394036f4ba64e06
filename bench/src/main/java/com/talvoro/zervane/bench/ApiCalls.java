package com.talvoro.zervane.bench;

/** Calls of the Java API that a store of rows has no counterpart for. */
public interface ApiCalls {
  /**
   * Reads the current values of the tags 0 to {@code count - 1} in one call.
   *
   * @return how many were read
   */
  int readCurrent(int count, Checksum checksum);

  /** Reads the current value of one tag by the call for single ones. */
  void readCurrentOf(int tag, Checksum checksum);

  /** Writes the only record of a batch by the call for single ones; durable when it returns. */
  void writeOne(Prepared prepared);

  /**
   * Reads a number of records of a tag from a time on by the call that has no end of time.
   *
   * @return how many were read
   */
  int readRawFrom(int tag, long fromMs, int count, Checksum checksum);

  /** Asks for the type of a tag. */
  int tagType(int tag);
}
