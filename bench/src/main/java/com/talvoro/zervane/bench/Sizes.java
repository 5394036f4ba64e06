package com.talvoro.zervane.bench;

/**
 * How much there is of what can be had in different sizes; 0 for none of it.
 *
 * @param largeRecords how many records the large database has
 * @param mostTags how many tags the largest searched database has
 * @param historyRecords how many records the longest history of a tag has
 */
record Sizes(long largeRecords, int mostTags, long historyRecords) {
  /** From the words that {@link #toString} makes. */
  static Sizes parse(String text) {
    String[] words = text.split(",");
    return new Sizes(
        Long.parseLong(words[0]), Integer.parseInt(words[1]), Long.parseLong(words[2]));
  }

  @Override
  public String toString() {
    return largeRecords + "," + mostTags + "," + historyRecords;
  }
}
