package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.Jni_Zervane;
import java.io.File;
import java.io.IOException;
import java.net.URISyntaxException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.TimeUnit;

/** A Java virtual machine of its own, for what cannot be seen, or not be survived, in this one. */
final class ChildJvm {
  /** How a child ended, and what it wrote to standard output and to standard error. */
  record Result(int exitCode, String output, String errors) {}

  static final Path CLASSES = folderOf(Jni_Zervane.class);
  static final Path TEST_CLASSES = folderOf(ChildJvm.class);
  static final String LIBRARY_FOLDER = System.getProperty("zervane.library.path");

  private static final long LIMIT_SECONDS = 120;

  private final List<String> options = new ArrayList<>();
  private final Map<String, String> environment = new HashMap<>();
  private final List<String> withoutVariables = new ArrayList<>();

  /** A child that loads the library this virtual machine has loaded. */
  static ChildJvm withLibrary() {
    return new ChildJvm().option("-Dzervane.library.path=" + LIBRARY_FOLDER);
  }

  ChildJvm option(String option) {
    options.add(option);
    return this;
  }

  ChildJvm with(String variable, String value) {
    environment.put(variable, value);
    return this;
  }

  ChildJvm without(String variable) {
    withoutVariables.add(variable);
    return this;
  }

  Result run(Class<?> main, String... arguments) throws IOException, InterruptedException {
    return run(List.of(CLASSES, TEST_CLASSES), main.getName(), arguments);
  }

  Result run(List<Path> classPath, String main, String... arguments)
      throws IOException, InterruptedException {
    List<String> command = new ArrayList<>();
    command.add(Path.of(System.getProperty("java.home"), "bin", "java").toString());
    command.addAll(options);
    command.add("-cp");
    command.add(String.join(File.pathSeparator, classPath.stream().map(Path::toString).toList()));
    command.add(main);
    command.addAll(List.of(arguments));

    ProcessBuilder builder = new ProcessBuilder(command);
    withoutVariables.forEach(builder.environment()::remove);
    builder.environment().putAll(environment);
    return waitFor(builder);
  }

  private static Result waitFor(ProcessBuilder builder) throws IOException, InterruptedException {
    Path output = Files.createTempFile("zervane-child-", ".out");
    Path errors = Files.createTempFile("zervane-child-", ".err");
    try {
      Process process =
          builder.redirectOutput(output.toFile()).redirectError(errors.toFile()).start();
      boolean ended = process.waitFor(LIMIT_SECONDS, TimeUnit.SECONDS);
      process.destroyForcibly();
      assertTrue(ended, () -> "the child did not end: " + builder.command());
      return new Result(process.exitValue(), Files.readString(output), Files.readString(errors));
    } finally {
      Files.delete(output);
      Files.delete(errors);
    }
  }

  private static Path folderOf(Class<?> type) {
    try {
      return Path.of(type.getProtectionDomain().getCodeSource().getLocation().toURI());
    } catch (URISyntaxException e) {
      throw new AssertionError(e);
    }
  }
}
