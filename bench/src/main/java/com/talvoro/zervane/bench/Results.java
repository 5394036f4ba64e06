package com.talvoro.zervane.bench;

import java.util.ArrayList;
import java.util.Collections;
import java.util.EnumMap;
import java.util.LinkedHashMap;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Map;
import java.util.OptionalDouble;
import java.util.Set;

/** All figures of a run: of every workload and subject the rounds' figures, in their order. */
final class Results {
  private final Map<String, Map<String, Map<Metric, List<Double>>>> figures =
      new LinkedHashMap<>();
  private final Map<String, String> failures = new LinkedHashMap<>();

  void add(String workload, String subject, Map<Metric, Double> round) {
    Map<Metric, List<Double>> all =
        figures
            .computeIfAbsent(workload, key -> new LinkedHashMap<>())
            .computeIfAbsent(subject, key -> new EnumMap<>(Metric.class));
    round.forEach(
        (metric, figure) -> all.computeIfAbsent(metric, key -> new ArrayList<>()).add(figure));
  }

  void addFailure(String workload, String subject, String message) {
    failures.put(subject + ", " + workload, message);
  }

  /** Whether a round did not succeed. */
  boolean hasFailed(String workload, String subject) {
    return failures.containsKey(subject + ", " + workload);
  }

  /** The rounds' figures; empty when it was not measured. */
  List<Double> rounds(String workload, String subject, Metric metric) {
    return figures
        .getOrDefault(workload, Map.of())
        .getOrDefault(subject, Map.of())
        .getOrDefault(metric, List.of());
  }

  /** The rounds' median; empty when it was not measured. */
  OptionalDouble median(String workload, String subject, Metric metric) {
    List<Double> rounds = rounds(workload, subject, metric);
    return rounds.isEmpty() ? OptionalDouble.empty() : OptionalDouble.of(median(rounds));
  }

  /**
   * What ours is of the floor: the median over the rounds, each measured right after the other.
   */
  OptionalDouble shareOfFloor(String workload, Metric metric) {
    List<Double> ours = rounds(workload, Subjects.OURS, metric);
    List<Double> floor = rounds(workload, Subjects.FLOOR, metric);
    List<Double> shares = new ArrayList<>();
    for (int i = 0; i < Math.min(ours.size(), floor.size()); i++) {
      shares.add(ours.get(i) / floor.get(i));
    }
    return shares.isEmpty() ? OptionalDouble.empty() : OptionalDouble.of(median(shares));
  }

  Set<String> workloads() {
    return Collections.unmodifiableSet(figures.keySet());
  }

  /** The subjects that have a figure anywhere, in the order in which they were measured. */
  Set<String> subjects() {
    Set<String> subjects = new LinkedHashSet<>();
    figures.values().forEach(bySubject -> subjects.addAll(bySubject.keySet()));
    return subjects;
  }

  /** The metrics of a workload that a subject was measured by. */
  Set<Metric> metrics(String workload, String subject) {
    return figures.getOrDefault(workload, Map.of()).getOrDefault(subject, Map.of()).keySet();
  }

  /** What did not succeed, and why. */
  Map<String, String> failures() {
    return Collections.unmodifiableMap(failures);
  }

  private static double median(List<Double> samples) {
    return Statistics.median(samples.stream().mapToDouble(Double::doubleValue).toArray());
  }
}
