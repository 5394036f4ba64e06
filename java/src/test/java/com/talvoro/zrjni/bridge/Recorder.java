package com.talvoro.zrjni.bridge;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.TreeSet;

/**
 * The client library that stands below the bridge: it answers as scripted and tells what it was
 * called with.
 */
final class Recorder {
  private static final TreeSet<String> FUNCTIONS_SEEN = new TreeSet<>();

  static {
    System.load(LoadedLibrary.path("libzrVaskAPI.so.1.0.0"));
  }

  private Recorder() {}

  /** Forgets calls and answers. */
  static native void reset();

  /** The number of answers that no call has taken. */
  static native int pendingAnswers();

  private static native void script(String function, int status, String[] names, byte[][] values);

  private static native byte[] takeLog();

  /** Lets the next unanswered call of a function have this status and fill these outputs. */
  static void answer(String function, int status, Output... outputs) {
    Map<String, byte[]> bytes = new LinkedHashMap<>();
    for (Output output : outputs) {
      bytes.putAll(output.bytes());
    }
    script(
        function,
        status,
        bytes.keySet().toArray(String[]::new),
        bytes.values().toArray(byte[][]::new));
  }

  /** The calls since the last time. */
  static List<RecordedCall> takeCalls() {
    LogReader log = new LogReader(takeLog());
    List<RecordedCall> calls = new ArrayList<>();
    for (int left = log.number(); left > 0; --left) {
      calls.add(log.call());
    }
    calls.forEach(call -> FUNCTIONS_SEEN.add(call.function()));
    return calls;
  }

  /** Every function that was called so far in this virtual machine. */
  static TreeSet<String> functionsSeen() {
    return new TreeSet<>(FUNCTIONS_SEEN);
  }

  /** The log as the recorder writes it. */
  private static final class LogReader {
    private final ByteBuffer bytes;

    LogReader(byte[] log) {
      bytes = ByteBuffer.wrap(log).order(ByteOrder.LITTLE_ENDIAN);
    }

    int number() {
      return bytes.getInt();
    }

    RecordedCall call() {
      String function = text(sized());
      Map<String, Object> arguments = new LinkedHashMap<>();
      for (int left = number(); left > 0; --left) {
        String name = text(sized());
        arguments.put(name, value(number(), sized()));
      }
      return new RecordedCall(function, arguments);
    }

    private static Object value(int kind, byte[] bytes) {
      return switch (kind) {
        case 0 -> null;
        case 1 -> ByteBuffer.wrap(bytes).order(ByteOrder.LITTLE_ENDIAN).getLong();
        case 2 -> text(bytes);
        case 3 -> bytes;
        default -> throw new IllegalStateException("kind " + kind);
      };
    }

    private byte[] sized() {
      byte[] result = new byte[number()];
      bytes.get(result);
      return result;
    }

    private static String text(byte[] bytes) {
      return new String(bytes, StandardCharsets.UTF_8);
    }
  }
}
