package com.talvoro.zervane.bench.peers;

import java.io.IOException;
import java.net.InetAddress;
import java.net.ServerSocket;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.concurrent.Callable;
import java.util.concurrent.TimeUnit;

/**
 * A database server that serves one folder, on a port of the loopback interface that was free. It
 * is stopped when this is closed, and when this process ends, however it ends.
 */
final class ServerProcess implements AutoCloseable {
  /** The script that knows the servers, from the working folder on. */
  private static final String SCRIPT =
      Path.of("scripts", "bench-peers").toAbsolutePath().toString();

  /** A server that was killed reads its journal first. */
  private static final long READY_SECONDS = 300;

  private static final long RETRY_MS = 20;

  private final Process process;
  private final Path folder;
  private final int port;

  /** Starts a server; it is {@link #connect} that waits until it is ready. */
  ServerProcess(String kind, Path folder) throws IOException {
    this.folder = folder.toAbsolutePath();
    port = freePort();
    process =
        new ProcessBuilder(SCRIPT, "run", kind, this.folder.toString(), Integer.toString(port))
            .redirectOutput(ProcessBuilder.Redirect.DISCARD)
            .redirectError(ProcessBuilder.Redirect.INHERIT)
            .start();
  }

  /** The version of a server that need not run. */
  static String version(String kind) {
    try {
      Process asked =
          new ProcessBuilder(SCRIPT, "version", kind)
              .redirectError(ProcessBuilder.Redirect.INHERIT)
              .start();
      String version = new String(asked.getInputStream().readAllBytes(), StandardCharsets.UTF_8);
      return version.isBlank() ? "missing" : version.strip();
    } catch (IOException e) {
      return "missing";
    }
  }

  private static int freePort() throws IOException {
    try (ServerSocket socket = new ServerSocket(0, 1, InetAddress.getLoopbackAddress())) {
      return socket.getLocalPort();
    }
  }

  int port() {
    return port;
  }

  /** Tries until an attempt succeeds; throws when the server is gone or does not get ready. */
  <T> T connect(Callable<T> attempt) throws Exception {
    long deadline = System.nanoTime() + TimeUnit.SECONDS.toNanos(READY_SECONDS);
    while (true) {
      try {
        return attempt.call();
      } catch (Exception e) {
        if (process.waitFor(RETRY_MS, TimeUnit.MILLISECONDS) || System.nanoTime() > deadline) {
          throw new IOException("no server in " + folder + ": see its server.log", e);
        }
      }
    }
  }

  /** Ends the server's input, upon which it stores everything, and waits until it is gone. */
  @Override
  public void close() throws IOException, InterruptedException {
    process.getOutputStream().close();
    process.waitFor();
  }
}
