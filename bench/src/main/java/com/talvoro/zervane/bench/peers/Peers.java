package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Subject;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.function.Supplier;

/** What people would use instead, in the order in which the tables show it. */
public final class Peers {
  private Peers() {}

  /** Makes each peer, by the word that names it on the command line. */
  public static Map<String, Supplier<Subject>> all() {
    Map<String, Supplier<Subject>> peers = new LinkedHashMap<>(inProcess());
    peers.put("postgresql", PostgresPeer::new);
    peers.put("influxdb", InfluxPeer::new);
    return peers;
  }

  /** Those that are asked about a history; QuestDB's table is the same in both of its ways. */
  public static List<String> ofHistory() {
    return List.of("duckdb", "questdb-direct", "postgresql");
  }

  /** Those that can load and be asked about a hundred million records within minutes. */
  public static List<String> ofLongHistory() {
    return List.of("duckdb", "questdb-direct");
  }

  /** Those that need their archive alone; the others need what scripts/bench-peers unpacks. */
  static Map<String, Supplier<Subject>> inProcess() {
    Map<String, Supplier<Subject>> peers = new LinkedHashMap<>();
    peers.put("sqlite", SqlitePeer::new);
    peers.put("duckdb", DuckDbPeer::new);
    peers.put("rocksdb", RocksDbPeer::new);
    peers.put("questdb-wal", () -> new QuestDbPeer(true));
    peers.put("questdb-direct", () -> new QuestDbPeer(false));
    return peers;
  }
}
