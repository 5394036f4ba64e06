package com.talvoro.zervane.demo;

/**
 * Numbers of the tag properties that the demo sets and searches by. Bit i of a property mask selects
 * column i.
 *
 * <p>Two properties travel in a field of another name when a tag is written: the span in {@code
 * m_excDev} and the minimum in {@code m_compDev}. Selecting their columns without those of the
 * deviations sets them alone.
 */
enum TagColumn {
  NAME(0),
  ARCHIVING(1),
  DESCRIPTOR(12),
  DIGITAL_SET(13),
  ENG_UNITS(14),
  TAG_TYPE(18),
  SPAN(23);

  private final int number;

  TagColumn(int number) {
    this.number = number;
  }

  int number() {
    return number;
  }

  static long mask(TagColumn... columns) {
    long mask = 0;
    for (TagColumn column : columns) {
      mask |= 1L << column.number;
    }
    return mask;
  }
}
