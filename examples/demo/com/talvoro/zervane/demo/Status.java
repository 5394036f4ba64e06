package com.talvoro.zervane.demo;

/** Statuses of native calls: 0 is success, and every other one ends the program. */
final class Status {
  /** What an iterator answers past its last item. */
  static final int END_OF_ITERATION = 110192;

  private Status() {}

  /** A native call that did not succeed. */
  static final class Failure extends RuntimeException {
    private static final long serialVersionUID = 1L;

    Failure(String message) {
      super(message);
    }
  }

  static void check(String call, int status) {
    if (status != 0) {
      throw new Failure(call + " returned " + status);
    }
  }
}
