package com.talvoro.zervane.bench;

/**
 * A statistic of one tag over a region of time.
 *
 * @param what what is to be calculated
 * @param tag the tag's number
 * @param fromMs the left end, which is part of the region
 * @param toMs the right end, which is not
 * @param low the lower bound, for statistics that have one
 * @param high the upper bound, for statistics that have one
 */
public record Question(
    Statistic what, int tag, long fromMs, long toMs, double low, double high) {}
