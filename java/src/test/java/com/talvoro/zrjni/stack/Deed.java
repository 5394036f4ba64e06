package com.talvoro.zrjni.stack;

/**
 * What one native method does in a database, by what it is called with.
 *
 * @param method its name
 * @param succeeds looks at what came of it, too
 * @param fails null of a method that tells no failure
 * @param whyNever then the reason, else null
 */
record Deed(String method, Action succeeds, Action fails, String whyNever) {
  /** Calls the method, and asserts what it answers. */
  interface Action {
    void in(WholeStack stack) throws Exception;
  }

  static Deed of(String method, Action succeeds, Action fails) {
    return new Deed(method, succeeds, fails, null);
  }

  static Deed thatNeverFails(String method, String whyNever, Action succeeds) {
    return new Deed(method, succeeds, null, whyNever);
  }

  @Override
  public String toString() {
    return method;
  }
}
