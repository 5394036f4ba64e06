package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Batch;
import com.talvoro.zervane.bench.Checksum;
import com.talvoro.zervane.bench.Durability;
import java.io.File;
import java.io.IOException;
import java.net.URI;
import java.net.URLEncoder;
import java.net.http.HttpClient;
import java.net.http.HttpRequest;
import java.net.http.HttpRequest.BodyPublishers;
import java.net.http.HttpResponse;
import java.net.http.HttpResponse.BodyHandlers;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.concurrent.TimeUnit;
import java.util.stream.Stream;

/** An InfluxDB server of its own on the loopback interface: a series per tag, lines over HTTP. */
final class InfluxPeer extends Peer {
  private static final String SERVER = "influxdb";
  private static final long NS_PER_MS = 1_000_000;

  /** How long the server may take for what lies in its journal after the last write. */
  private static final long SETTLE_SECONDS = 60;

  private final StringBuilder lines = new StringBuilder();
  private final HttpClient client =
      HttpClient.newBuilder().version(HttpClient.Version.HTTP_1_1).build();
  private Path journal;
  private ServerProcess server;
  private URI write;
  private URI query;

  @Override
  public String name() {
    return "InfluxDB";
  }

  @Override
  public String version() {
    return ServerProcess.version(SERVER);
  }

  @Override
  public String settings() {
    return "server on loopback; wal-fsync-delay=0, so that every write is synced (no-wait: there is"
        + " none, the same), one HTTP request of line protocol per batch, times in ms, a series per"
        + " tag, index in memory; records travel as text, NaN and infinities cannot be stored";
  }

  @Override
  public void open(Path folder, int tagCount) throws Exception {
    journal = folder.resolve("wal");
    server = new ServerProcess(SERVER, folder);
    URI address = URI.create("http://127.0.0.1:" + server.port());
    write = address.resolve("/write?db=bench&precision=ms");
    query = address.resolve("/query?db=bench&epoch=ms");
    server.connect(() -> ask("CREATE DATABASE bench"));
  }

  @Override
  void write(Batch batch, Durability durability) throws Exception {
    lines.setLength(0);
    for (int i = 0; i < batch.size; i++) {
      lines.append("record,id=").append(batch.tag[i]);
      lines.append(" value=").append(batch.value[i]);
      lines.append(",quality=").append(batch.quality[i]).append("i ");
      lines.append(batch.timeMs[i]).append('\n');
    }
    byte[] body = lines.toString().getBytes(StandardCharsets.ISO_8859_1);
    send(HttpRequest.newBuilder(write).POST(BodyPublishers.ofByteArray(body)));
  }

  private String send(HttpRequest.Builder request) throws IOException, InterruptedException {
    HttpResponse<String> response = client.send(request.build(), BodyHandlers.ofString());
    if (response.statusCode() / 100 != 2) {
      throw new IOException("InfluxDB answered " + response.statusCode() + ": " + response.body());
    }
    return response.body();
  }

  private String ask(String question) throws IOException, InterruptedException {
    String form = "q=" + URLEncoder.encode(question, StandardCharsets.UTF_8);
    return send(
        HttpRequest.newBuilder(query)
            .header("Content-Type", "application/x-www-form-urlencoded")
            .header("Accept", "application/csv")
            .POST(BodyPublishers.ofString(form)));
  }

  /** Nothing waits: every write is synced and readable when it is answered. */
  @Override
  public void flush() {}

  @Override
  public long readRaw(int tag, long fromMs, long toMs, int limit, Checksum checksum)
      throws Exception {
    String records =
        ask(
            "SELECT value, quality FROM record WHERE id = '" + tag
                + "' AND time >= " + fromMs * NS_PER_MS + " AND time <= " + toMs * NS_PER_MS
                + " ORDER BY time LIMIT " + limit);
    long count = 0;
    int line = records.indexOf('\n') + 1; // after the heading: name,tags,time,value,quality
    for (; line != 0 && line < records.length(); count++) {
      int end = records.indexOf('\n', line);
      int time = records.indexOf(',', records.indexOf(',', line) + 1) + 1;
      int value = records.indexOf(',', time) + 1;
      int quality = records.indexOf(',', value) + 1;
      checksum.add(
          Long.parseLong(records, time, value - 1, 10),
          Double.parseDouble(records.substring(value, quality - 1)),
          Integer.parseInt(records, quality, end, 10));
      line = end + 1;
    }
    return count;
  }

  /** Stops the server, once the records have left its journal or have had the time for it. */
  @Override
  public void close() throws Exception {
    if (server == null) {
      return;
    }
    long deadline = System.nanoTime() + TimeUnit.SECONDS.toNanos(SETTLE_SECONDS);
    while (journalBytes() != 0 && System.nanoTime() < deadline) {
      TimeUnit.MILLISECONDS.sleep(100);
    }
    server.close();
  }

  // The server deletes files while they are added up; what is gone has no length.
  private long journalBytes() {
    return bytesOf(journal.toFile());
  }

  private static long bytesOf(File file) {
    File[] files = file.listFiles();
    return files == null ? file.length() : Stream.of(files).mapToLong(InfluxPeer::bytesOf).sum();
  }
}
