package com.talvoro.zervane.bench;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.function.Supplier;

/**
 * The folders of one subject. Making tags can take long, so stores begin as copies of one that has
 * them.
 */
final class WorkSpace {
  private final Path root;
  private final Supplier<Subject> subjects;
  private final boolean isVerified;

  /**
   * @param isVerified whether what was written can be read back, which the floor cannot do
   */
  WorkSpace(Path root, Supplier<Subject> subjects, boolean isVerified) {
    this.root = root;
    this.subjects = subjects;
    this.isVerified = isVerified;
  }

  /** A store that is used once; closing it deletes it. */
  final class Scratch implements AutoCloseable {
    private final Path folder = root.resolve("scratch");
    private final Subject subject = subjects.get();

    private Scratch(int tagCount) throws Exception {
      begin(folder, tagCount);
      subject.open(folder, tagCount);
    }

    Subject subject() {
      return subject;
    }

    @Override
    public void close() throws Exception {
      subject.close();
      Folders.delete(folder);
    }
  }

  /** A new store with tags and without records. */
  Scratch scratch(int tagCount) throws Exception {
    return new Scratch(tagCount);
  }

  /** Begins a store that stays, anew; the caller closes it. */
  Subject create(String name, int tagCount) throws Exception {
    begin(folder(name), tagCount);
    return open(name, tagCount);
  }

  /** Opens a store that stayed; the caller closes it. */
  Subject open(String name, int tagCount) throws Exception {
    Subject subject = subjects.get();
    subject.open(folder(name), tagCount);
    return subject;
  }

  /** How large a store is, with all its files. */
  long sizeBytes(String name) throws IOException {
    return Folders.sizeBytes(folder(name));
  }

  /** Has everything written down that the system still holds back of a store. */
  void sync(String name) throws Exception {
    Folders.sync(folder(name));
  }

  /** How large a store is that has these tags and no records. */
  long emptySizeBytes(int tagCount) throws Exception {
    return Folders.sizeBytes(template(tagCount));
  }

  /** Whether what was written is to be read back. */
  boolean isVerified() {
    return isVerified;
  }

  private Path folder(String name) {
    return root.resolve(name);
  }

  /** Puts a new store there; the disk is at rest afterwards. */
  private void begin(Path folder, int tagCount) throws Exception {
    Folders.delete(folder);
    Folders.copy(template(tagCount), folder);
    Folders.sync(folder);
  }

  private Path template(int tagCount) throws Exception {
    Path template = root.resolve("tags-" + tagCount);
    if (!Files.exists(template)) {
      Path unfinished = root.resolve("unfinished");
      Folders.delete(unfinished);
      Files.createDirectories(unfinished);
      try (Subject subject = subjects.get()) {
        subject.open(unfinished, tagCount);
      }
      Files.move(unfinished, template);
    }
    return template;
  }
}
