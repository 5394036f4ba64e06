package com.talvoro.zervane.bench.peers;

import java.nio.file.Path;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** The archive that a class came from. */
final class Jar {
  private static final Pattern NAME = Pattern.compile(".*-([0-9][^-]*)\\.jar");

  private Jar() {}

  /** The version in an archive's name, as in "store-1.2.3.jar": not every manifest has it. */
  static String version(Class<?> type) {
    String path = type.getProtectionDomain().getCodeSource().getLocation().getPath();
    Matcher name = NAME.matcher(Path.of(path).getFileName().toString());
    return name.matches() ? name.group(1) : "unknown";
  }
}
