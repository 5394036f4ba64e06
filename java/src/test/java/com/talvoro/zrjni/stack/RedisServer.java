package com.talvoro.zrjni.stack;

import java.io.BufferedInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.io.UncheckedIOException;
import java.net.InetAddress;
import java.net.ServerSocket;
import java.net.Socket;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.TimeUnit;
import org.junit.jupiter.api.extension.AfterEachCallback;
import org.junit.jupiter.api.extension.BeforeEachCallback;
import org.junit.jupiter.api.extension.ExtensionContext;

/** A Redis of the test's own, on a free port of the loopback, and a client of it. */
final class RedisServer implements BeforeEachCallback, AfterEachCallback {
  private static final long PATIENCE_NANOS = TimeUnit.MINUTES.toNanos(1);

  private Path folder;
  private Process process;
  private int port;

  int port() {
    return port;
  }

  @Override
  public void beforeEach(ExtensionContext context) throws IOException, InterruptedException {
    folder = Files.createTempDirectory("zervane-redis");
    // The program of Debian's redis-tools, which is a server when it is called one.
    Path program =
        Files.createSymbolicLink(
            folder.resolve("redis-server"), Path.of("/usr/bin/redis-check-rdb"));
    try (ServerSocket free = new ServerSocket(0, 1, InetAddress.getLoopbackAddress())) {
      port = free.getLocalPort();
    }
    process =
        new ProcessBuilder(
                program.toString(), "--port", "" + port, "--bind", "127.0.0.1", "--save", "",
                "--dir", folder.toString(), "--logfile", folder.resolve("log").toString())
            .start();
    long end = System.nanoTime() + PATIENCE_NANOS;
    while (!answers()) {
      if (!process.isAlive() || System.nanoTime() > end) {
        throw new IllegalStateException("no Redis: scripts/bootstrap installs it");
      }
      Thread.sleep(5);
    }
  }

  @Override
  public void afterEach(ExtensionContext context) throws IOException, InterruptedException {
    process.destroyForcibly().waitFor();
    try (var files = Files.list(folder)) {
      for (Path file : files.toList()) {
        Files.delete(file);
      }
    }
    Files.delete(folder);
  }

  private boolean answers() {
    try {
      return ask("PING").equals(List.of("PONG"));
    } catch (UncheckedIOException e) {
      return false;
    }
  }

  /** The JSON texts of a stream, as soon as there are so many. */
  List<String> awaitStream(String key, int count) throws InterruptedException {
    long end = System.nanoTime() + PATIENCE_NANOS;
    for (; ; ) {
      List<String> texts = ask("XRANGE", key, "-", "+");
      if (texts.size() / 3 >= count) {
        List<String> entries = new ArrayList<>();
        for (int i = 2; i < texts.size(); i += 3) {
          entries.add(texts.get(i));
        }
        return entries;
      }
      if (System.nanoTime() > end) {
        throw new AssertionError(texts.size() / 3 + " of " + count + " entries in " + key);
      }
      Thread.sleep(5);
    }
  }

  /** The texts and numbers of a reply, in whatever lists they are. */
  List<String> ask(String... words) {
    try (Socket socket = new Socket(InetAddress.getLoopbackAddress(), port)) {
      StringBuilder command = new StringBuilder("*" + words.length + "\r\n");
      for (String word : words) {
        command.append("$").append(word.length()).append("\r\n").append(word).append("\r\n");
      }
      socket.getOutputStream().write(command.toString().getBytes(StandardCharsets.US_ASCII));
      List<String> texts = new ArrayList<>();
      read(new BufferedInputStream(socket.getInputStream()), texts);
      return texts;
    } catch (IOException e) {
      throw new UncheckedIOException(e);
    }
  }

  private static void read(InputStream in, List<String> texts) throws IOException {
    String line = line(in);
    String rest = line.substring(1);
    switch (line.charAt(0)) {
      case '*' -> {
        for (int i = Integer.parseInt(rest); i > 0; i--) {
          read(in, texts);
        }
      }
      case '$' -> {
        byte[] bytes = in.readNBytes(Integer.parseInt(rest));
        texts.add(new String(bytes, StandardCharsets.UTF_8));
        in.readNBytes(2);
      }
      default -> texts.add(rest);
    }
  }

  private static String line(InputStream in) throws IOException {
    StringBuilder line = new StringBuilder();
    for (int c = in.read(); c != '\r'; c = in.read()) {
      if (c < 0) {
        throw new IOException("the reply ends");
      }
      line.append((char) c);
    }
    in.read();
    return line.toString();
  }
}
