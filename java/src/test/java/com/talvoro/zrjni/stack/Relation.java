package com.talvoro.zrjni.stack;

import java.util.List;

/** The relations of search conditions in the order of their numbers. */
enum Relation {
  EQUAL,
  NOT_EQUAL,
  GREATER,
  LESS,
  AT_LEAST,
  AT_MOST,
  LIKE;

  static final List<Relation> OF_ORDER = List.of(values()).subList(0, LIKE.ordinal());

  int number() {
    return ordinal();
  }

  /** Whether a value meets it that compares so with that of the condition. */
  boolean isMet(int comparison) {
    return switch (this) {
      case EQUAL -> comparison == 0;
      case NOT_EQUAL -> comparison != 0;
      case GREATER -> comparison > 0;
      case LESS -> comparison < 0;
      case AT_LEAST -> comparison >= 0;
      case AT_MOST -> comparison <= 0;
      case LIKE -> throw new IllegalArgumentException("patterns have no order");
    };
  }
}
