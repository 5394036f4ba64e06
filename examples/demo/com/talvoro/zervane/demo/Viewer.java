package com.talvoro.zervane.demo;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;

/** A user who may look at everything and change nothing, and what becomes of an attempt. */
final class Viewer {
  private static final String NAME = "viewer";
  private static final String PASSWORD = "look, but do not touch";
  private static final String GROUP = "viewers"; // which every database has

  private Viewer() {}

  /** Creates the user where it is missing. */
  static void open() {
    int added = Jni_Zervane.addUser(NAME, PASSWORD, "looks on");
    if (added != Status.USER_EXISTS) {
      Status.check("addUser", added);
      Status.check("addUserToGroup", Jni_Zervane.addUserToGroup(NAME, GROUP));
    }
  }

  /** Logs in as that user for the rest of the session, reads a tag and tries to write it. */
  static void tryToWrite(Catalogue.Tag tag) {
    String name = tag.measurement().tagName();
    System.out.printf("%nA user who may only look%n");
    int status = Jni_Zervane.login(NAME, PASSWORD);
    if (status == Status.LOGIN_FAILED) {
      System.out.printf("  %s has another password in this database%n", NAME);
      return;
    }
    Status.check("login", status);
    ZRJniRecord record = new ZRJniRecord();
    Status.check("querySnapShot", Jni_Zervane.querySnapShot(tag.id(), (byte) 0, record));
    System.out.printf(
        "  %s reads %s: %s%n", NAME, name, Text.withUnit(tag.measurement(), record));
    int[] errors = new int[1];
    int refused =
        Jni_Zervane.saveSnapshots(new int[] {tag.id()}, 1, new ZRJniRecord[] {record}, errors);
    if (refused != Status.NO_RIGHT) {
      throw new Status.Failure("a viewer's saveSnapshots returned " + refused);
    }
    System.out.printf("  %s writes it: refused, no right to do this (%d)%n", NAME, refused);
  }
}
