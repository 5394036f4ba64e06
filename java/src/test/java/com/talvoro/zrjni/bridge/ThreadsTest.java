package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.stream.IntStream;
import java.util.stream.Stream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;

@DisplayName("Threads")
class ThreadsTest extends BridgeTest {
  private static final int THREADS = 4;
  private static final int CALLS = 500;

  private static Stream<String> names(int thread) {
    return IntStream.range(0, CALLS).mapToObj(i -> "thread " + thread + ", tag " + i);
  }

  @Test
  void callAtTheSameTimeAndDoNotDisturbEachOther() throws Exception {
    ExecutorService threads = Executors.newFixedThreadPool(THREADS);
    try {
      List<Callable<Long>> work = new ArrayList<>();
      for (int i = 0; i < THREADS; ++i) {
        int thread = i;
        work.add(() -> names(thread).filter(name -> Jni_Zervane.queryTagID(name) == 0).count());
      }
      for (Future<Long> succeeded : threads.invokeAll(work)) {
        assertEquals(CALLS, succeeded.get());
      }
    } finally {
      threads.shutdown();
    }
    Stream<String> expected = IntStream.range(0, THREADS).boxed().flatMap(ThreadsTest::names);
    Stream<String> sent =
        Recorder.takeCalls().stream().map(call -> (String) call.arguments().get("szTagName"));
    assertEquals(expected.sorted().toList(), sent.sorted().toList());
  }
}
