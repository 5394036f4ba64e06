package com.talvoro.zervane.bench.peers;

import static org.junit.jupiter.api.Assertions.assertAll;
import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zervane.bench.Batch;
import com.talvoro.zervane.bench.Checksum;
import com.talvoro.zervane.bench.Durability;
import com.talvoro.zervane.bench.Prepared;
import com.talvoro.zervane.bench.Subject;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Random;
import java.util.SortedMap;
import java.util.TreeMap;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.MethodSource;

@DisplayName("A peer in this process")
class PeersTest {
  private static final int TAGS = 7;
  private static final int BATCH_SIZE = 500;
  private static final int BATCHES = 4;
  private static final long START_MS = 1_672_531_200_000L;
  private static final long DAY_MS = 86_400_000;
  private static final int[] QUALITIES = {192, 0, 0x8000, 0xFFFF};

  private record Entry(double value, int quality) {}

  @TempDir private Path folder;

  private final Random random = new Random(20_230_101);
  private final List<TreeMap<Long, Entry>> written = new ArrayList<>();
  private long lastMs = START_MS;

  static Stream<Arguments> peersAndDurabilities() {
    return Peers.inProcess().keySet().stream()
        .flatMap(peer -> Stream.of(Durability.values()).map(each -> Arguments.of(peer, each)));
  }

  static Stream<String> peers() {
    return Peers.inProcess().keySet().stream();
  }

  PeersTest() {
    for (int tag = 0; tag < TAGS; tag++) {
      written.add(new TreeMap<>());
    }
  }

  private void fill(Batch batch, int i, int tag, long timeMs) {
    batch.tag[i] = tag;
    batch.timeMs[i] = timeMs;
    batch.value[i] = random.nextInt(100_000) / 100.0 - 500;
    batch.quality[i] = QUALITIES[random.nextInt(QUALITIES.length)];
    written.get(tag).put(timeMs, new Entry(batch.value[i], batch.quality[i]));
  }

  private Batch inOrder() {
    Batch batch = new Batch(BATCH_SIZE);
    for (int i = 0; i < BATCH_SIZE; i++) {
      lastMs += 1 + random.nextInt(2_000_000); // some days in all
      fill(batch, i, random.nextInt(TAGS), lastMs);
    }
    return batch;
  }

  /** Records of the year before, the newest first. */
  private Batch late() {
    Batch batch = new Batch(BATCH_SIZE);
    for (int i = 0; i < BATCH_SIZE; i++) {
      fill(batch, i, i % TAGS, START_MS - (i + 1) * DAY_MS / 2);
    }
    return batch;
  }

  private void writeInOrder(Subject peer, Durability durability) throws Exception {
    Prepared prepared = null;
    for (int i = 0; i < BATCHES; i++) {
      prepared = peer.prepare(inOrder(), prepared);
      peer.write(prepared, durability);
    }
    if (durability == Durability.NO_WAIT) {
      peer.flush();
    }
  }

  private static void assertReads(
      SortedMap<Long, Entry> expected, Subject peer, int tag, long fromMs, long toMs, int limit)
      throws Exception {
    Checksum sumOfWritten = new Checksum();
    expected.entrySet().stream()
        .limit(limit)
        .forEach(
            entry ->
                sumOfWritten.add(
                    entry.getKey(), entry.getValue().value, entry.getValue().quality));
    Checksum sumOfRead = new Checksum();
    long count = peer.readRaw(tag, fromMs, toMs, limit, sumOfRead);
    assertAll(
        () -> assertEquals(Math.min(limit, expected.size()), count, "records of tag " + tag),
        () -> assertEquals(sumOfWritten.sum(), sumOfRead.sum(), "contents of tag " + tag));
  }

  private void assertHasAll(Subject peer) throws Exception {
    for (int tag = 0; tag < TAGS; tag++) {
      assertReads(written.get(tag), peer, tag, 0, lastMs, Integer.MAX_VALUE);
    }
  }

  @ParameterizedTest(name = "{0}, {1}")
  @MethodSource("peersAndDurabilities")
  void givesBackWhatWasWritten(String name, Durability durability) throws Exception {
    try (Subject peer = Peers.inProcess().get(name).get()) {
      peer.open(folder, TAGS);
      writeInOrder(peer, durability);
      assertHasAll(peer);
    }
  }

  @ParameterizedTest
  @MethodSource("peers")
  void keepsItWhenItIsClosed(String name) throws Exception {
    try (Subject peer = Peers.inProcess().get(name).get()) {
      peer.open(folder, TAGS);
      writeInOrder(peer, Durability.NO_WAIT);
    }
    try (Subject peer = Peers.inProcess().get(name).get()) {
      peer.open(folder, TAGS);
      assertHasAll(peer);
    }
  }

  @ParameterizedTest
  @MethodSource("peers")
  void putsLateRecordsWhereTheyBelong(String name) throws Exception {
    try (Subject peer = Peers.inProcess().get(name).get()) {
      peer.open(folder, TAGS);
      writeInOrder(peer, Durability.DURABLE);
      peer.writeLate(peer.prepare(late(), null));
      assertHasAll(peer);
    }
  }

  @ParameterizedTest
  @MethodSource("peers")
  void readsTheOldestOfARangeWithBothItsEnds(String name) throws Exception {
    try (Subject peer = Peers.inProcess().get(name).get()) {
      peer.open(folder, TAGS);
      writeInOrder(peer, Durability.DURABLE);
      TreeMap<Long, Entry> records = written.get(0);
      long from = records.higherKey(START_MS + DAY_MS);
      long to = records.lowerKey(lastMs - DAY_MS);
      SortedMap<Long, Entry> range = records.subMap(from, true, to, true);
      assertReads(range, peer, 0, from, to, Integer.MAX_VALUE);
      assertReads(range, peer, 0, from, to, range.size() / 2);
      assertReads(records.subMap(to, to), peer, 0, to + 1, to, 1);
    }
  }

  @ParameterizedTest
  @MethodSource("peers")
  void takesABatchOfOneRecord(String name) throws Exception {
    Batch one = new Batch(1);
    fill(one, 0, TAGS - 1, START_MS);
    try (Subject peer = Peers.inProcess().get(name).get()) {
      peer.open(folder, TAGS);
      peer.write(peer.prepare(one, null), Durability.DURABLE);
      assertHasAll(peer);
    }
  }

  @ParameterizedTest
  @MethodSource("peers")
  void copiesWhatItPrepares(String name) throws Exception {
    Batch batch = inOrder();
    try (Subject peer = Peers.inProcess().get(name).get()) {
      peer.open(folder, TAGS);
      Prepared prepared = peer.prepare(batch, null);
      Arrays.fill(batch.value, 1e9);
      peer.write(prepared, Durability.DURABLE);
      assertHasAll(peer);
    }
  }
}
