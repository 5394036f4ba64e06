package com.talvoro.zervane.demo;

import com.talvoro.zrjni.ZRJniRecord;
import java.util.function.BiConsumer;
import java.util.function.Function;

/** The value types of tags, in the order of their numbers; each has its own field in a record. */
enum TagType {
  INT8((record, value) -> record.nInt8 = number(value).byteValue(), record -> record.nInt8),
  INT16((record, value) -> record.nInt16 = number(value).shortValue(), record -> record.nInt16),
  INT32((record, value) -> record.nInt32 = number(value).intValue(), record -> record.nInt32),
  FLOAT32(
      (record, value) -> record.fFloat32 = number(value).floatValue(), record -> record.fFloat32),
  FLOAT64(
      (record, value) -> record.fFloat64 = number(value).doubleValue(), record -> record.fFloat64),
  DIGITAL(
      (record, value) -> record.nDigital = number(value).byteValue(), record -> record.nDigital),
  STRING((record, value) -> record.strValue = value.toString(), record -> record.strValue);

  private final BiConsumer<ZRJniRecord, Object> store;
  private final Function<ZRJniRecord, Object> load;

  TagType(BiConsumer<ZRJniRecord, Object> store, Function<ZRJniRecord, Object> load) {
    this.store = store;
    this.load = load;
  }

  byte number() {
    return (byte) ordinal();
  }

  void store(ZRJniRecord record, Object value) {
    store.accept(record, value);
  }

  Object load(ZRJniRecord record) {
    return load.apply(record);
  }

  boolean isNumeric() {
    return this != STRING;
  }

  private static Number number(Object value) {
    return (Number) value;
  }
}
