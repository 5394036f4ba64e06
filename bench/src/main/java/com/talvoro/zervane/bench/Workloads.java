package com.talvoro.zervane.bench;

import com.talvoro.zervane.bench.BurstWriter.How;
import com.talvoro.zervane.bench.LatencyWorkload.Single;
import com.talvoro.zervane.bench.RawReadWorkload.Call;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** Everything that can be measured, in the order in which it is. */
final class Workloads {
  static final int[] BATCH_SIZES = {1, 100, 10_000};
  static final int[] TAG_COUNTS = {1_000, 100_000};
  static final int[] READ_COUNTS = {1_000, 10_000};

  private Workloads() {}

  /** Rounds of these alternate between ours and the floor. */
  static List<Workload> inRounds() {
    List<Workload> workloads = new ArrayList<>();
    for (How how : How.values()) {
      for (int tagCount : TAG_COUNTS) {
        for (int batchSize : BATCH_SIZES) {
          workloads.add(new WriteWorkload(how, batchSize, tagCount));
        }
      }
    }
    workloads.add(new DataSet());
    for (Call call : Call.values()) {
      for (int count : READ_COUNTS) {
        workloads.add(new RawReadWorkload(call, count));
      }
    }
    workloads.add(new CurrentReadWorkload(true));
    workloads.add(new CurrentReadWorkload(false));
    for (Single single : Single.values()) {
      workloads.add(new LatencyWorkload(single));
    }
    return workloads;
  }

  /** How many rounds a workload is worth: all of them where there is a mark, else about half. */
  static int rounds(Workload workload, int asked) {
    if (workload instanceof DataSet) {
      return 1;
    }
    if (workload instanceof TagWorkload.Search) {
      return asked;
    }
    return Marks.WORKLOADS.contains(workload.id()) ? asked : (asked + 1) / 2;
  }

  /** What the peers do too. */
  static List<Workload> ofPeers() {
    List<Workload> workloads = new ArrayList<>();
    for (int batchSize : BATCH_SIZES) {
      workloads.add(new WriteWorkload(How.DURABLE, batchSize, TAG_COUNTS[0]));
    }
    workloads.add(new WriteWorkload(How.NO_WAIT, 10_000, TAG_COUNTS[0]));
    workloads.add(new WriteWorkload(How.LATE, 10_000, TAG_COUNTS[0]));
    workloads.add(new DataSet());
    for (int count : READ_COUNTS) {
      workloads.add(new RawReadWorkload(Call.RANGE, count));
    }
    return workloads;
  }

  /** Each asks for a process of its own. */
  static List<Workload> ofMemory() {
    List<Workload> workloads = new ArrayList<>();
    for (int tagCount : TAG_COUNTS) {
      workloads.add(new MemoryWorkload(tagCount));
    }
    return workloads;
  }

  /** How many tags are searched: a tenth of the most first. */
  static List<Integer> searchedTags(int mostTags) {
    return mostTags / 10 < TagWorkload.FEWEST_TAGS
        ? List.of()
        : List.of(mostTags / 10, mostTags);
  }

  /** All, by their identifiers. */
  static Map<String, Workload> byId(Sizes sizes) {
    Map<String, Workload> workloads = new LinkedHashMap<>();
    inRounds().forEach(workload -> workloads.put(workload.id(), workload));
    ofMemory().forEach(workload -> workloads.put(workload.id(), workload));
    workloads.put(LargeStore.Fill.ID, new LargeStore.Fill(sizes.largeRecords()));
    workloads.put(LargeStore.Open.ID, new LargeStore.Open(sizes.largeRecords()));
    for (int count : searchedTags(sizes.mostTags())) {
      workloads.put(TagWorkload.Fill.id(count), new TagWorkload.Fill(count));
      workloads.put(TagWorkload.Open.id(count), new TagWorkload.Open(count));
      workloads.put(TagWorkload.Search.id(count), new TagWorkload.Search(count));
    }
    for (History history : History.all(sizes.historyRecords())) {
      workloads.put(history.fill().id(), history.fill());
      history.questions().forEach(workload -> workloads.put(workload.id(), workload));
    }
    return workloads;
  }
}
