package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTime;
import java.lang.reflect.Field;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Objects;

/** Makes, reads and compares records. */
final class Records {
  static final int GOOD = 192;
  static final int FORWARD = 0;
  static final int BACKWARD = 1;
  static final ZRJniTime BEGINNING = time(0, 0);
  static final ZRJniTime END = time(-1, 999); // seconds are unsigned: the last one there is

  private Records() {}

  static ZRJniTime time(int seconds, int milliseconds) {
    ZRJniTime time = new ZRJniTime();
    time.nSec = seconds;
    time.nMsec = (short) milliseconds;
    return time;
  }

  /** A good record of no value. */
  static ZRJniRecord at(int seconds, int milliseconds) {
    ZRJniRecord record = new ZRJniRecord();
    record.nSec = seconds;
    record.nMsec = (short) milliseconds;
    record.nQuality = GOOD;
    return record;
  }

  static ZRJniRecord of(ValueType type, int seconds, Object value) {
    ZRJniRecord record = at(seconds, 0);
    type.store(record, value);
    return record;
  }

  static ZRJniRecord float64(int seconds, double value) {
    return of(ValueType.FLOAT64, seconds, value);
  }

  static int save(int tagId, ZRJniRecord record) {
    return Jni_Zervane.saveSnapShot(tagId, (byte) 0, record);
  }

  /** The current value of a tag that has one. */
  static ZRJniRecord current(int tagId) {
    ZRJniRecord record = new ZRJniRecord();
    assertEquals(Codes.OK, Jni_Zervane.querySnapShot(tagId, (byte) 0, record));
    return record;
  }

  /** All archived records of a tag, oldest first. */
  static List<ZRJniRecord> history(int tagId) {
    IntWrapper count = new IntWrapper();
    assertEquals(Codes.OK, Jni_Zervane.queryRawRecordsCount(tagId, BEGINNING, END, count));
    ZRJniRecord[] records = new ZRJniRecord[count.Value];
    int status =
        Jni_Zervane.queryRawRecords(tagId, (byte) 0, BEGINNING, END, records.length, records);
    assertEquals(Codes.OK, status);
    return present(records);
  }

  /** The elements that were filled, which must stand before those that were not. */
  static List<ZRJniRecord> present(ZRJniRecord[] records) {
    List<ZRJniRecord> present = Arrays.stream(records).filter(Objects::nonNull).toList();
    assertEquals(present, Arrays.asList(records).subList(0, present.size()));
    return present;
  }

  static List<Integer> seconds(List<ZRJniRecord> records) {
    return records.stream().map(record -> record.nSec).toList();
  }

  static List<Double> doubles(List<ZRJniRecord> records) {
    return records.stream().map(record -> record.fFloat64).toList();
  }

  /** Every field of an object of a contract class, by name, in a form that can be compared. */
  static List<String> fieldsOf(Object object) {
    List<String> fields = new ArrayList<>();
    for (Field field : object.getClass().getFields()) {
      try {
        Object value = field.get(object);
        String text =
            value instanceof byte[] bytes ? Arrays.toString(bytes) : String.valueOf(value);
        fields.add(field.getName() + "=" + text);
      } catch (IllegalAccessException e) {
        throw new AssertionError(e);
      }
    }
    return fields;
  }

  /** A record whose every field holds something, to see what a call leaves alone. */
  static ZRJniRecord filled() {
    ZRJniRecord record = at(11, 12);
    record.nQuality = 13;
    record.nTagType = 14;
    record.nInt8 = 15;
    record.nInt16 = 16;
    record.nInt32 = 17;
    record.fFloat32 = 18;
    record.fFloat64 = 19;
    record.nDigital = 20;
    record.strValue = "before";
    record.byteValue = new byte[] {21};
    return record;
  }
}
