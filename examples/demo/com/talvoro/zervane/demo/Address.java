package com.talvoro.zervane.demo;

import java.nio.file.Path;

/** Where the database of an address is, for people to read. */
final class Address {
  private static final String EMBEDDED = "embedded:";

  private Address() {}

  static String describe(String address) {
    if (address.isEmpty()) {
      return "the embedded database in " + defaultFolder();
    }
    if (address.startsWith(EMBEDDED)) {
      return "the embedded database in "
          + Path.of(address.substring(EMBEDDED.length())).toAbsolutePath();
    }
    return address.equals("memory:") ? "memory, gone when the program ends" : "server " + address;
  }

  /** The folder that the library itself takes when the address is empty. */
  private static Path defaultFolder() {
    String home = System.getenv("ZERVANE_HOME");
    if (home != null && !home.isEmpty()) {
      return Path.of(home).toAbsolutePath();
    }
    String data = System.getenv("XDG_DATA_HOME");
    if (data != null && !data.isEmpty()) {
      return Path.of(data, "zervane").toAbsolutePath();
    }
    return Path.of(System.getProperty("user.home"), ".local", "share", "zervane");
  }
}
