package com.talvoro.zervane.bench;

import java.util.Locale;

/** The tags that searches are measured on. Number i is the same tag in every store of any size. */
public final class TagSet {
  /** In turn, what the value is: every fourth tag is a measured one. */
  private static final String[] KINDS = {"PV", "SP", "OP", "ALM"};

  private static final int TAGS_PER_AREA = 10_000;

  private TagSet() {}

  /** A name of 17 or 18 characters, such as {@code A03.FIC0007512.PV}. */
  public static String name(int tag) {
    return String.format(
        Locale.ROOT,
        "A%02d.FIC%07d.%s",
        tag / TAGS_PER_AREA,
        tag / KINDS.length,
        KINDS[tag % KINDS.length]);
  }

  /** A description of 31 characters. */
  public static String descriptor(int tag) {
    return String.format(
        Locale.ROOT, "flow of pump %07d in area %02d", tag / KINDS.length, tag / TAGS_PER_AREA);
  }

  public static String unit() {
    return "m3/h";
  }

  /** How many of the tags 0 to {@code count - 1} have names that end in {@code .PV}. */
  static int measured(int count) {
    return (count + KINDS.length - 1) / KINDS.length;
  }
}
