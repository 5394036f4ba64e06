package com.talvoro.zervane.bench;

/**
 * The tags of an open store, and searches among them. Case is that of neither names nor patterns;
 * matches come in order of identifier, and identifiers count up in the order of adding.
 */
public interface TagCalls {
  /** Adds the tags {@code from} to {@code to - 1} of {@link TagSet} the fastest way there is. */
  void add(int from, int to) throws Exception;

  /** Adds one tag; it is synced to the disk when this returns. */
  void addOne(int tag) throws Exception;

  /** Begins a search and reads its first match; 0 when there is none, else the identifier. */
  int first(TagPattern pattern) throws Exception;

  /**
   * Reads the first matches at or behind an identifier, with all properties that tags have in
   * common, as Java values.
   *
   * @return how many were read
   */
  int page(int start, int capacity, TagPattern pattern, Checksum checksum) throws Exception;

  int count(TagPattern pattern) throws Exception;
}
