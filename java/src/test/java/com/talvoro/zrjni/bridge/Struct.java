package com.talvoro.zrjni.bridge;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import java.util.BitSet;
import java.util.Optional;

/**
 * The bytes of one record, to be expected or to be answered. As an expectation it knows which of
 * its bytes are defined; the others may hold anything.
 */
final class Struct {
  private final Layout layout;
  private final ByteBuffer bytes;
  private final BitSet defined = new BitSet();

  private Struct(Layout layout, int cleared) {
    this.layout = layout;
    bytes = ByteBuffer.allocate(layout.size()).order(ByteOrder.LITTLE_ENDIAN);
    defined.set(0, cleared);
  }

  /** A record that was zeroed as a whole. */
  static Struct cleared(Layout layout) {
    return new Struct(layout, layout.size());
  }

  /** A record of which only the first bytes were zeroed. */
  static Struct clearedUpTo(int cleared, Layout layout) {
    return new Struct(layout, cleared);
  }

  /** A record that was not zeroed: only what is set is defined. */
  static Struct uncleared(Layout layout) {
    return new Struct(layout, 0);
  }

  /** A block of memory as the allocation probe hands it out. */
  static Struct fresh(Layout layout) {
    Struct struct = cleared(layout);
    Arrays.fill(struct.bytes.array(), AllocationProbe.FRESH);
    return struct;
  }

  /**
   * A record whose members all have values of their own, other ones for another seed; flags (which
   * are named b...) are 0 or 1.
   */
  static Struct filled(Layout layout, int seed) {
    Struct struct = cleared(layout);
    int number = seed % 2 == 0 ? -7 * seed : 7 * seed;
    for (Layout.Member member : layout.members()) {
      number += seed;
      struct.set(
          member.name(),
          switch (member.kind()) {
            case TEXT -> member.name() + number + Fields.BEYOND_ASCII;
            case INTEGER -> isFlag(member) ? number & 1 : number * 0x0101010101010101L;
            case FLOAT -> number + 0.5;
          });
    }
    return struct;
  }

  private static boolean isFlag(Layout.Member member) {
    return member.size() == 1 && member.name().matches("b[A-Z].*");
  }

  /**
   * Sets a member: a text with its terminator (the rest of its array stays; null is empty), or the
   * low bytes of a number; true is 1.
   */
  Struct set(String member, Object value) {
    Layout.Member target = layout.member(member);
    byte[] encoded = encode(target, value);
    if (encoded.length > target.size()) {
      throw new IllegalArgumentException(
          layout.name() + "." + member + " has no room for " + value);
    }
    return setBytes(target.offset(), encoded);
  }

  /** Sets bytes wherever they stand, as an unbounded copy does. */
  Struct setBytes(int offset, byte[] value) {
    bytes.put(offset, value);
    defined.set(offset, offset + value.length);
    return this;
  }

  /** Leaves a member undefined again. */
  Struct undefine(String member) {
    Layout.Member target = layout.member(member);
    defined.clear(target.offset(), target.offset() + target.size());
    return this;
  }

  Layout layout() {
    return layout;
  }

  byte[] bytes() {
    return bytes.array().clone();
  }

  /** A text member, up to its terminator. */
  String text(String member) {
    Layout.Member source = layout.member(member);
    int end = source.offset();
    while (end < source.offset() + source.size() && bytes.get(end) != 0) {
      ++end;
    }
    return new String(
        bytes.array(), source.offset(), end - source.offset(), StandardCharsets.UTF_8);
  }

  /** An integer member, widened by its sign. */
  long integer(String member) {
    Layout.Member source = layout.member(member);
    return switch (source.size()) {
      case 1 -> bytes.get(source.offset());
      case 2 -> bytes.getShort(source.offset());
      case 4 -> bytes.getInt(source.offset());
      default -> bytes.getLong(source.offset());
    };
  }

  double floating(String member) {
    Layout.Member source = layout.member(member);
    return source.size() == 4 ? bytes.getFloat(source.offset()) : bytes.getDouble(source.offset());
  }

  /**
   * What differs in a record that arrived, in words; empty when every defined byte is as expected.
   */
  Optional<String> mismatch(byte[] actual) {
    if (actual.length != layout.size()) {
      return Optional.of(layout.name() + " of " + actual.length + " bytes");
    }
    Struct arrived = cleared(layout).setBytes(0, actual);
    for (Layout.Member member : layout.members()) {
      if (differs(actual, member.offset(), member.offset() + member.size())) {
        return Optional.of(
            layout.name()
                + "."
                + member.name()
                + ": expected "
                + describe(member)
                + " but was "
                + arrived.describe(member));
      }
    }
    for (int i = 0; i < actual.length; ++i) {
      if (differs(actual, i, i + 1)) {
        return Optional.of(
            String.format(
                "%s, padding byte %d: expected %02x but was %02x",
                layout.name(), i, bytes.get(i), actual[i]));
      }
    }
    return Optional.empty();
  }

  private boolean differs(byte[] actual, int from, int to) {
    for (int i = defined.nextSetBit(from); i >= 0 && i < to; i = defined.nextSetBit(i + 1)) {
      if (actual[i] != bytes.get(i)) {
        return true;
      }
    }
    return false;
  }

  private String describe(Layout.Member member) {
    return switch (member.kind()) {
      case TEXT ->
          "\""
              + text(member.name())
              + "\" "
              + java.util.HexFormat.of()
                  .formatHex(
                      bytes.array(),
                      member.offset(),
                      member.offset() + Math.min(member.size(), 24));
      case INTEGER -> Long.toString(integer(member.name()));
      case FLOAT -> Double.toString(floating(member.name()));
    };
  }

  private static byte[] encode(Layout.Member member, Object value) {
    if (value instanceof byte[] raw) {
      return raw;
    }
    ByteBuffer encoded = ByteBuffer.allocate(8).order(ByteOrder.LITTLE_ENDIAN);
    switch (member.kind()) {
      case TEXT -> {
        return Output.terminated(value == null ? "" : (String) value);
      }
      case FLOAT -> {
        if (member.size() == 4) {
          encoded.putFloat(((Number) value).floatValue());
        } else {
          encoded.putDouble(((Number) value).doubleValue());
        }
      }
      case INTEGER ->
          encoded.putLong(
              value instanceof Boolean flag ? (flag ? 1 : 0) : ((Number) value).longValue());
    }
    return Arrays.copyOf(encoded.array(), member.size());
  }
}
