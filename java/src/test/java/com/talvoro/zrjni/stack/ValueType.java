package com.talvoro.zrjni.stack;

import com.talvoro.zrjni.ZRJniRecord;
import java.util.List;
import java.util.function.BiConsumer;
import java.util.function.Function;

/** The value types in the order of their numbers: each one's field, and values at its edges. */
enum ValueType {
  INT8((r, v) -> r.nInt8 = (Byte) v, r -> r.nInt8, List.of((byte) -128, (byte) 0, (byte) 127)),
  INT16(
      (r, v) -> r.nInt16 = (Short) v,
      r -> r.nInt16,
      List.of((short) -32768, (short) 1, (short) 32767)),
  INT32(
      (r, v) -> r.nInt32 = (Integer) v,
      r -> r.nInt32,
      List.of(Integer.MIN_VALUE, -1, Integer.MAX_VALUE)),
  FLOAT32(
      (r, v) -> r.fFloat32 = (Float) v,
      r -> r.fFloat32,
      List.of(Float.MIN_VALUE, -0.0f, Float.MAX_VALUE, Float.NEGATIVE_INFINITY, Float.NaN)),
  FLOAT64(
      (r, v) -> r.fFloat64 = (Double) v,
      r -> r.fFloat64,
      List.of(Double.MIN_VALUE, -0.0, Double.MAX_VALUE, Double.POSITIVE_INFINITY, Double.NaN)),
  DIGITAL(
      (r, v) -> r.nDigital = (Byte) v, r -> r.nDigital, List.of((byte) -128, (byte) 0, (byte) 127)),
  STRING(
      (r, v) -> r.strValue = (String) v,
      r -> r.strValue,
      List.of("", "abc", "Grüße, 温度 25 ℃ 😀", "x".repeat(999), "℃".repeat(333))),
  BLOB(
      (r, v) -> r.byteValue = (byte[]) v,
      r -> r.byteValue,
      List.of(new byte[0], new byte[] {0, -1, 0, 1}, bytes(1000)));

  private final BiConsumer<ZRJniRecord, Object> store;
  private final Function<ZRJniRecord, Object> load;
  private final List<?> edges;

  ValueType(
      BiConsumer<ZRJniRecord, Object> store, Function<ZRJniRecord, Object> load, List<?> edges) {
    this.store = store;
    this.load = load;
    this.edges = edges;
  }

  byte number() {
    return (byte) ordinal();
  }

  /** Values that must survive the way through the database, the smallest and largest among them. */
  List<?> edges() {
    return edges;
  }

  void store(ZRJniRecord record, Object value) {
    store.accept(record, value);
  }

  Object load(ZRJniRecord record) {
    return load.apply(record);
  }

  static byte[] bytes(int length) {
    byte[] bytes = new byte[length];
    for (int i = 0; i < length; i++) {
      bytes[i] = (byte) (i * 31 + 7);
    }
    return bytes;
  }
}
