package com.talvoro.zrjni.bridge;

import com.talvoro.zrjni.ZRJniRecord;
import java.util.Arrays;

/** A value of each tag type: how it looks in Java and in the client library. */
enum TypedValue {
  INT8("nInt8"),
  INT16("nInt16"),
  INT32("nInt32"),
  FLOAT32("fFloat32"),
  FLOAT64("fFloat64"),
  DIGITAL("nDigital"),
  STRING("strValue"),
  BLOB("byteValue");

  /** What the bridge gives the client library to read a text or bytes into. */
  static final int BUFFER_SIZE = 1000;

  private final String field;

  TypedValue(String field) {
    this.field = field;
  }

  int type() {
    return ordinal();
  }

  boolean hasBuffer() {
    return this == STRING || this == BLOB;
  }

  /** What a Java record is sent as, given a record as the method prepares it. */
  ApiRecord sent(ZRJniRecord java, ApiRecord prepared) {
    ApiRecord record =
        prepared.time(java.nSec, java.nMsec).set("nQuality", java.nQuality).type(type());
    return switch (this) {
      case STRING -> record.buffer(Output.terminated(java.strValue));
      case BLOB -> record.buffer(Arrays.copyOf(java.byteValue, java.byteValue.length & 0xffff));
      default -> record.set(field, Fields.get(java, field));
    };
  }

  /** A record as the client library answers: every slot holds something. */
  ApiRecord answered(int seed) {
    ApiRecord record = new ApiRecord(Struct.filled(Layouts.RECORD, seed), null, 0).type(type());
    return switch (this) {
      case STRING -> record.buffer(Output.terminated("value " + seed + Fields.BEYOND_ASCII));
      case BLOB -> record.buffer(new byte[] {0, (byte) seed, (byte) 0xff, 0});
      default -> record;
    };
  }

  /**
   * What an answered record makes of a Java object: its header, and the value of its type alone.
   */
  ZRJniRecord read(ApiRecord answered, ZRJniRecord before) {
    ZRJniRecord after = Fields.copy(before);
    Struct record = answered.struct();
    after.nSec = (int) record.integer("nSec");
    after.nMsec = (short) record.integer("nMsec");
    after.nQuality = (int) record.integer("nQuality") & 0xffff;
    after.nTagType = (byte) type();
    switch (this) {
      case STRING -> after.strValue = text(answered.payload());
      case BLOB -> after.byteValue = answered.payload();
      default -> Fields.setFrom(record, field, after, field);
    }
    return after;
  }

  private static String text(byte[] terminated) {
    return new String(
        terminated, 0, terminated.length - 1, java.nio.charset.StandardCharsets.UTF_8);
  }
}
