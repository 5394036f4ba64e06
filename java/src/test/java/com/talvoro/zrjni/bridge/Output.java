package com.talvoro.zrjni.bridge;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;

/** An output that the client library is to fill: its name, and the bytes that go there. */
record Output(Map<String, byte[]> bytes) {
  /**
   * An output of one value: an Integer (32 bits), Long or Double (64 bits), String (terminated),
   * int[], byte[], Struct, or a list of Structs.
   */
  static Output out(String name, Object value) {
    return new Output(Map.of(name, encode(value)));
  }

  /** Value records, into an array. */
  static Output records(String name, ApiRecord... records) {
    Map<String, byte[]> bytes = new LinkedHashMap<>();
    for (int i = 0; i < records.length; ++i) {
      String element = name + "[" + i + "]";
      bytes.put(element, records[i].struct().bytes());
      if (records[i].payload() != null) {
        bytes.put(element + ".payload", records[i].payload());
      }
    }
    return new Output(bytes);
  }

  /** A text in the system encoding, with its terminator. */
  static byte[] terminated(String text) {
    byte[] encoded = text.getBytes(StandardCharsets.UTF_8);
    return Arrays.copyOf(encoded, encoded.length + 1);
  }

  /** 32-bit numbers, one after the other. */
  static byte[] int32s(int... values) {
    ByteBuffer bytes = buffer(4 * values.length);
    bytes.asIntBuffer().put(values);
    return bytes.array();
  }

  private static byte[] encode(Object value) {
    if (value instanceof Integer number) {
      return int32s(number);
    } else if (value instanceof Long number) {
      return buffer(8).putLong(number).array();
    } else if (value instanceof Double number) {
      return buffer(8).putDouble(number).array();
    } else if (value instanceof String text) {
      return terminated(text);
    } else if (value instanceof int[] numbers) {
      return int32s(numbers);
    } else if (value instanceof byte[] raw) {
      return raw;
    } else if (value instanceof Struct struct) {
      return struct.bytes();
    } else if (value instanceof List<?> list) {
      return joined(list);
    }
    throw new IllegalArgumentException(String.valueOf(value));
  }

  private static byte[] joined(List<?> values) {
    List<byte[]> parts = values.stream().map(Output::encode).toList();
    ByteBuffer all = buffer(parts.stream().mapToInt(part -> part.length).sum());
    parts.forEach(all::put);
    return all.array();
  }

  private static ByteBuffer buffer(int size) {
    return ByteBuffer.allocate(size).order(ByteOrder.LITTLE_ENDIAN);
  }
}
