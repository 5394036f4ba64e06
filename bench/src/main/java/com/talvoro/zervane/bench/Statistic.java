package com.talvoro.zervane.bench;

/**
 * What a store is asked to calculate from the records of one tag in a region, its left end included
 * and its right one not. "Good" means quality 192. A good value runs on the line to the next record
 * where that one is good, too, and holds until then where it is not.
 */
public enum Statistic {
  /** The mean of the good values. */
  MEAN,
  LEAST,
  GREATEST,
  SUM,
  /** The newest good value. */
  LAST,
  /** The area under the good values, in value times seconds. */
  AREA,
  /** The area divided by the seconds that it covers. */
  TIME_MEAN,
  /** How much of the region's time is good, in percent. */
  GOOD_SHARE,
  /** The seconds of good records whose value is above the question's lower bound. */
  TIME_ABOVE,
  /** How many good values lie within the question's bounds, which count. */
  COUNT_BETWEEN,
  /** The mean of the good values that pass a condition, as all of them do. */
  FILTERED_MEAN
}
