package com.talvoro.zervane.demo;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import java.util.ArrayList;
import java.util.List;

/** Finds tags by what they are called and what they are, counts them, and turns pages. */
final class Search {
  /** In a pattern {@code *} is any run of characters and {@code ?} any one. */
  private static final byte LIKE = 6;

  private static final byte EQUAL = 0;
  private static final int POINT_TAGS = 0;
  private static final long POINT_TAGS_MASK = 1L << POINT_TAGS;

  /** A tag that was found. */
  record Found(int id, String name, String description) {}

  private Search() {}

  /** The tags whose names are like a pattern, one after the other. */
  static List<Found> named(String pattern) {
    LongWrapper iterator = new LongWrapper();
    Status.check(
        "queryTagsCondEx",
        Jni_Zervane.queryTagsCondEx(
            pattern, "", TagColumn.mask(TagColumn.DESCRIPTOR), 0, iterator));
    List<Found> found = new ArrayList<>();
    ZRJniTagProp tag = new ZRJniTagProp();
    int status = Jni_Zervane.getItemStep(iterator.Value, tag);
    while (status == 0) {
      found.add(new Found(tag.m_tagID, tag.m_tagName, tag.m_descriptor));
      status = Jni_Zervane.getItemStep(iterator.Value, tag);
    }
    release("getItemStep", iterator.Value, status);
    return found;
  }

  /** How many tags have the unit. */
  static int countInUnit(String unit) {
    ZRQueryTagCondition[] conditions = {condition(TagColumn.ENG_UNITS, EQUAL, unit)};
    IntWrapper count = new IntWrapper();
    Status.check(
        "queryTagNumCond",
        Jni_Zervane.queryTagNumCond(POINT_TAGS, conditions, conditions.length, count));
    return count.Value;
  }

  /** The first tags at or behind an identifier whose names are like a pattern. */
  static List<Found> page(String pattern, int startId, int capacity) {
    ZRQueryTagCondition[] conditions = {condition(TagColumn.NAME, LIKE, pattern)};
    long mask = TagColumn.mask(TagColumn.DESCRIPTOR);
    LongWrapper iterator = new LongWrapper();
    Status.check(
        "querySpecifyPageTagsCond",
        Jni_Zervane.querySpecifyPageTagsCond(
            POINT_TAGS_MASK, conditions, conditions.length, mask, 0, startId, capacity, iterator));
    List<Found> found = new ArrayList<>();
    ZRJniCommTagProp tag = new ZRJniCommTagProp();
    int status = Jni_Zervane.getCommItemStep(iterator.Value, tag);
    while (status == 0) {
      found.add(new Found(tag.m_tagID, tag.m_tagName, tag.m_descriptor));
      status = Jni_Zervane.getCommItemStep(iterator.Value, tag);
    }
    release("getCommItemStep", iterator.Value, status);
    return found;
  }

  private static ZRQueryTagCondition condition(TagColumn column, byte relation, String value) {
    ZRQueryTagCondition condition = new ZRQueryTagCondition();
    condition.tagPropID = (byte) column.number();
    condition.queryRelation = relation;
    condition.queryValue = value;
    return condition;
  }

  /** An iterator ends with a status of its own; any other one is a failure. */
  private static void release(String call, long iterator, int status) {
    Jni_Zervane.freeIterator(iterator);
    if (status != Status.END_OF_ITERATION) {
      Status.check(call, status);
    }
  }
}
