package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.peers.Peers;
import java.util.LinkedHashMap;
import java.util.Map;
import java.util.function.Supplier;

/** Everything that is measured, by the word that names it in the results. */
final class Subjects {
  static final String FLOOR = "floor";
  static final String OURS = "zervane";

  /** The peer that is searched, too. */
  static final String SQLITE = "sqlite";

  private Subjects() {}

  static Map<String, Supplier<Subject>> all() {
    Map<String, Supplier<Subject>> subjects = new LinkedHashMap<>();
    subjects.put(OURS, ZervaneSubject::ours);
    subjects.put(FLOOR, ZervaneSubject::floor);
    subjects.putAll(Peers.all());
    return subjects;
  }
}
