package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvoro.zrjni.CommonTagProperties;
import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import java.util.ArrayList;
import java.util.List;
import java.util.function.BiFunction;
import java.util.function.Supplier;

/** Searches for tags in every way there is, and reads what iterators have. */
final class Searches {
  static final long POINTS = 1L << 0;
  static final long ALARMS = 1L << 1;
  static final long ALL_CLASSES = 1L << 6;

  /** What a holder has before a call, to see whether the call wrote it. */
  static final long UNWRITTEN = -4711;

  private Searches() {}

  static LongWrapper holder() {
    LongWrapper holder = new LongWrapper();
    holder.Value = UNWRITTEN;
    return holder;
  }

  /** An iterator of the point tags that meet the conditions, with all their properties. */
  static long open(ZRQueryTagCondition... conditions) {
    return open(Columns.ALL, Columns.ALL, conditions);
  }

  static long open(long mask, long pointMask, ZRQueryTagCondition... conditions) {
    LongWrapper handle = holder();
    int status =
        Jni_Zervane.queryBasicTagsByConds(conditions, conditions.length, mask, pointMask, handle);
    assertEquals(Codes.OK, status);
    assertTrue(handle.Value > 0, "handle " + handle.Value);
    return handle.Value;
  }

  /** An iterator of the tags of some classes that meet the conditions. */
  static long openOfClasses(long classMask, long mask, ZRQueryTagCondition... conditions) {
    LongWrapper handle = holder();
    int status =
        Jni_Zervane.queryTagsByConds(conditions, conditions.length, classMask, mask, handle);
    assertEquals(Codes.OK, status);
    return handle.Value;
  }

  /** An iterator of one page of the tags of all classes that meet the conditions. */
  static long openPage(int start, int capacity, ZRQueryTagCondition... conditions) {
    LongWrapper handle = holder();
    int status =
        Jni_Zervane.querySpecifyPageTagsCond(
            ALL_CLASSES, conditions, conditions.length, Columns.ALL, 0, start, capacity, handle);
    assertEquals(Codes.OK, status);
    return handle.Value;
  }

  static List<ZRJniTagProp> points(long handle) {
    return drain(handle, ZRJniTagProp::new, Jni_Zervane::getItemStep);
  }

  static List<ZRJniCommTagProp> tags(long handle) {
    return drain(handle, ZRJniCommTagProp::new, Jni_Zervane::getCommItemStep);
  }

  /** Reads an iterator to its end and releases it. */
  private static <T> List<T> drain(
      long handle, Supplier<T> make, BiFunction<Long, T, Integer> step) {
    List<T> items = new ArrayList<>();
    T item = make.get();
    int status = step.apply(handle, item);
    while (status == Codes.OK) {
      items.add(item);
      item = make.get();
      status = step.apply(handle, item);
    }
    assertEquals(Codes.END_OF_ITERATION, status);
    assertEquals(0, Jni_Zervane.freeIterator(handle));
    return items;
  }

  static List<String> names(List<? extends CommonTagProperties> tags) {
    return tags.stream().map(tag -> tag.m_tagName).toList();
  }

  static List<Integer> ids(List<? extends CommonTagProperties> tags) {
    return tags.stream().map(tag -> tag.m_tagID).toList();
  }

  /** The names of the point tags that meet the conditions, in the order in which they come. */
  static List<String> find(ZRQueryTagCondition... conditions) {
    return names(points(open(conditions)));
  }

  static int count(int tagClass, ZRQueryTagCondition... conditions) {
    IntWrapper number = new IntWrapper();
    number.Value = (int) UNWRITTEN;
    assertEquals(
        Codes.OK, Jni_Zervane.queryTagNumCond(tagClass, conditions, conditions.length, number));
    return number.Value;
  }

  /** A way to search by conditions. */
  enum Way {
    POINTS_BY_CONDITIONS,
    TAGS_BY_CONDITIONS,
    PAGE,
    COUNT;

    /** The status; a holder must be written when it is 0, and left alone when it is not. */
    int statusOf(ZRQueryTagCondition... conditions) {
      return statusOf(conditions, conditions.length);
    }

    int statusOf(ZRQueryTagCondition[] conditions, int count) {
      LongWrapper handle = holder();
      IntWrapper number = new IntWrapper();
      number.Value = (int) UNWRITTEN;
      int status =
          switch (this) {
            case POINTS_BY_CONDITIONS ->
                Jni_Zervane.queryBasicTagsByConds(
                    conditions, count, Columns.ALL, Columns.ALL, handle);
            case TAGS_BY_CONDITIONS ->
                Jni_Zervane.queryTagsByConds(
                    conditions, count, ALL_CLASSES, Columns.ALL, handle);
            case PAGE ->
                Jni_Zervane.querySpecifyPageTagsCond(
                    ALL_CLASSES, conditions, count, Columns.ALL, Columns.NONE, 0, 10, handle);
            case COUNT -> Jni_Zervane.queryTagNumCond(0, conditions, count, number);
          };
      long written = this == COUNT ? number.Value : handle.Value;
      assertEquals(status == Codes.OK, written != UNWRITTEN, "the holder has " + written);
      if (status == Codes.OK && this != COUNT) {
        Jni_Zervane.freeIterator(handle.Value);
      }
      return status;
    }
  }
}
