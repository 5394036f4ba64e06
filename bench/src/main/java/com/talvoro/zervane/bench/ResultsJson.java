package com.talvoro.zervane.bench;

import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.function.Supplier;
import java.util.stream.Collectors;

/** The results as JSON: every round of everything, for programs that compare runs. */
final class ResultsJson {
  private final Machine machine;
  private final Results results;

  ResultsJson(Machine machine, Results results) {
    this.machine = machine;
    this.results = results;
  }

  @Override
  public String toString() {
    return object(
        List.of(
            member("machine", textMembers(machine.facts())),
            member("subjects", subjects()),
            member("results", results()),
            member("failures", textMembers(results.failures()))));
  }

  private String subjects() {
    Map<String, Supplier<Subject>> all = Subjects.all();
    return object(
        results.subjects().stream()
            .map(
                id -> {
                  Subject subject = all.get(id).get();
                  return member(
                      id,
                      object(
                          List.of(
                              member("name", text(subject.name())),
                              member("version", text(subject.version())),
                              member("settings", text(subject.settings())))));
                })
            .toList());
  }

  private String results() {
    return object(
        results.workloads().stream()
            .map(workload -> member(workload, ofWorkload(workload)))
            .toList());
  }

  private String ofWorkload(String workload) {
    return object(
        results.subjects().stream()
            .filter(subject -> !results.metrics(workload, subject).isEmpty())
            .map(subject -> member(subject, ofSubject(workload, subject)))
            .toList());
  }

  private String ofSubject(String workload, String subject) {
    return object(
        results.metrics(workload, subject).stream()
            .map(
                metric ->
                    member(
                        metric.name().toLowerCase(Locale.ROOT),
                        results.rounds(workload, subject, metric).toString()))
            .toList());
  }

  private static String textMembers(Map<String, String> texts) {
    return object(
        texts.entrySet().stream()
            .map(entry -> member(entry.getKey(), text(entry.getValue())))
            .toList());
  }

  private static String object(List<String> members) {
    return members.stream()
        .map(member -> member.indent(2).stripTrailing())
        .collect(Collectors.joining(",\n", "{\n", "\n}"));
  }

  private static String member(String name, String value) {
    return text(name) + ": " + value;
  }

  private static String text(String value) {
    String escaped = value.replace("\\", "\\\\").replace("\"", "\\\"");
    return '"' + escaped.replaceAll("[\\x00-\\x1F]", " ") + '"';
  }
}
