package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertInstanceOf;
import static org.junit.jupiter.api.Assertions.fail;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** A call that the client library is to get, with every argument that it records. */
final class ExpectedCall {
  private final String function;
  private final Map<String, Object> arguments = new LinkedHashMap<>();

  private ExpectedCall(String function) {
    this.function = function;
  }

  static ExpectedCall call(String function) {
    return new ExpectedCall(function);
  }

  /**
   * An argument: null, an Integer or Long (a scalar), a String, byte[], int[] (32-bit numbers), a
   * Struct, or a list of Structs.
   */
  ExpectedCall with(String name, Object value) {
    arguments.put(name, value);
    return this;
  }

  /** An argument that holds no defined value. */
  ExpectedCall withAnything(String name) {
    return with(name, Anything.INSTANCE);
  }

  /** An array of value records with their buffers. */
  ExpectedCall withRecords(String name, ApiRecord... records) {
    with(name, Arrays.stream(records).map(ApiRecord::struct).toList());
    for (int i = 0; i < records.length; ++i) {
      if (records[i].payload() != null) {
        String element = name + "[" + i + "]";
        Object content =
            records[i].payload() == ApiRecord.ANYTHING ? Anything.INSTANCE : records[i].payload();
        with(element + ".payload", content);
        with(element + ".offset", records[i].offset());
      }
    }
    return this;
  }

  String function() {
    return function;
  }

  void verify(RecordedCall actual) {
    assertEquals(function, actual.function());
    assertEquals(
        new ArrayList<>(arguments.keySet()),
        new ArrayList<>(actual.arguments().keySet()),
        function + ": arguments");
    arguments.forEach(
        (name, value) -> verify(function + "." + name, value, actual.arguments().get(name)));
  }

  private static void verify(String what, Object expected, Object actual) {
    if (expected instanceof Integer number) {
      assertEquals(number.longValue(), actual, what);
    } else if (expected instanceof byte[] bytes) {
      assertArrayEquals(bytes, assertInstanceOf(byte[].class, actual, what), what);
    } else if (expected instanceof int[] numbers) {
      verify(what, Output.int32s(numbers), actual);
    } else if (expected instanceof Struct struct) {
      verify(what, List.of(struct), actual);
    } else if (expected instanceof List<?> structs) {
      verifyAll(what, structs, assertInstanceOf(byte[].class, actual, what));
    } else if (expected != Anything.INSTANCE) {
      assertEquals(expected, actual, what);
    }
  }

  private static void verifyAll(String what, List<?> structs, byte[] actual) {
    int offset = 0;
    for (Object element : structs) {
      Struct struct = (Struct) element;
      int end = offset + struct.layout().size();
      String where = what + " at " + offset + ": ";
      struct
          .mismatch(Arrays.copyOfRange(actual, offset, end))
          .ifPresent(difference -> fail(where + difference));
      offset = end;
    }
    assertEquals(offset, actual.length, what + ": bytes");
  }

  private enum Anything {
    INSTANCE
  }
}
