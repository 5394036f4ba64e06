package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;

import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;

/**
 * A test of the bridge on the recording client library: script answers, call, then tell the calls
 * that must have arrived, the state of the Java objects, and what stays allocated. What a test does
 * not tell must not have happened.
 */
abstract class BridgeTest {
  /** A status that no method treats specially. */
  static final int FAILURE = 110113;

  @BeforeEach
  final void startAfresh() {
    AllocationProbe.reset();
    Recorder.reset();
  }

  @AfterEach
  final void nothingElseHappened() {
    assertCalls();
    assertEquals(0, Recorder.pendingAnswers(), "answers that no call took");
    assertLeft();
  }

  /** Lets the next unanswered call of a function succeed and fill these outputs. */
  static void answer(String function, Output... outputs) {
    Recorder.answer(function, 0, outputs);
  }

  /** Lets the next unanswered call of a function have that status. */
  static void answer(String function, int status, Output... outputs) {
    Recorder.answer(function, status, outputs);
  }

  static Output out(String name, Object value) {
    return Output.out(name, value);
  }

  static ExpectedCall call(String function) {
    return ExpectedCall.call(function);
  }

  /** Verifies all calls since the last time. */
  static void assertCalls(ExpectedCall... expected) {
    List<RecordedCall> actual = Recorder.takeCalls();
    assertEquals(
        Arrays.stream(expected).map(ExpectedCall::function).toList(),
        actual.stream().map(RecordedCall::function).toList(),
        "calls of the client library");
    for (int i = 0; i < expected.length; ++i) {
      expected[i].verify(actual.get(i));
    }
  }

  /** Verifies the sizes of all blocks that the bridge has allocated and not freed, in order. */
  static void assertLeft(long... sizes) {
    assertArrayEquals(sizes, AllocationProbe.outstanding(), "blocks left allocated");
    AllocationProbe.reset();
  }

  /** Verifies the sizes of all blocks that the bridge has asked for, freed or not, in order. */
  static void assertAllocated(long... sizes) {
    assertArrayEquals(sizes, AllocationProbe.requested(), "blocks allocated");
  }

  /** The size of the buffer in which a Java text is converted. */
  static long textBuffer(String text) {
    return text == null ? 1 : text.length() * 4L + 1;
  }
}
