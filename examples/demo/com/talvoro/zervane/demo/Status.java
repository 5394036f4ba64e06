package com.talvoro.zervane.demo;

/** Statuses of native calls: 0 is success, and every other one ends the program. */
final class Status {
  /** What an iterator answers past its last item. */
  static final int END_OF_ITERATION = 110192;

  /** What a user is told who may not do what was asked. */
  static final int NO_RIGHT = 121601;

  /** What is answered to a name and a password that do not belong together. */
  static final int LOGIN_FAILED = 121602;

  /** What adding a user is answered when there is one of that name. */
  static final int USER_EXISTS = 121604;

  /** From this quality on a value is good. */
  static final int GOOD = 192;

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
