package com.talvoro.zervane.bench;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.util.Comparator;
import java.util.List;
import java.util.stream.Stream;

/** Folders with everything in them. */
final class Folders {
  private Folders() {}

  static boolean isEmpty(Path folder) throws IOException {
    try (Stream<Path> entries = Files.list(folder)) {
      return entries.findAny().isEmpty();
    }
  }

  /** The lengths of all files in a folder, added up. */
  static long sizeBytes(Path folder) throws IOException {
    long size = 0;
    for (Path path : everythingIn(folder)) {
      if (Files.isRegularFile(path, LinkOption.NOFOLLOW_LINKS)) {
        size += Files.size(path);
      }
    }
    return size;
  }

  /** Copies a folder to a place where there is none, owners and rights included. */
  static void copy(Path from, Path to) throws IOException {
    for (Path path : everythingIn(from)) {
      Files.copy(
          path,
          to.resolve(from.relativize(path)),
          LinkOption.NOFOLLOW_LINKS,
          StandardCopyOption.COPY_ATTRIBUTES);
    }
  }

  /**
   * Has the file system that a folder is on write down all that it still holds back, so that it
   * disturbs nobody later.
   */
  static void sync(Path folder) throws IOException, InterruptedException {
    Process sync = new ProcessBuilder("sync", "-f", folder.toString()).inheritIO().start();
    if (sync.waitFor() != 0) {
      throw new IOException("sync -f " + folder + " failed");
    }
  }

  /** Deletes a folder, if there is one. */
  static void delete(Path folder) throws IOException {
    if (Files.exists(folder)) {
      for (Path path : everythingIn(folder).stream().sorted(Comparator.reverseOrder()).toList()) {
        Files.delete(path);
      }
    }
  }

  /** The folder itself and all that is in it, every folder before its contents. */
  private static List<Path> everythingIn(Path folder) throws IOException {
    try (Stream<Path> paths = Files.walk(folder)) {
      return paths.toList();
    }
  }
}
