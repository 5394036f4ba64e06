package com.talvoro.zervane.bench;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;

/** Tags and searches by the native methods, in the session that is open. */
final class ZervaneTags implements TagCalls {
  private static final byte FLOAT64 = 4;
  private static final byte LIKE = 6;
  private static final byte NAME = 0;
  private static final byte DESCRIPTOR = 12;
  private static final long PROPERTIES =
      1L << NAME | 1L << 1 | 1L << DESCRIPTOR | 1L << 14 | 1L << 18; // archiving, unit, type
  private static final long ALL = -1;
  private static final int POINTS = 0;
  private static final int END_OF_ITERATION = 110192;

  private final ZRJniTagProp tag = new ZRJniTagProp();
  private final ZRJniTagProp point = new ZRJniTagProp();
  private final ZRJniCommTagProp item = new ZRJniCommTagProp();
  private final ZRQueryTagCondition[] conditions = {new ZRQueryTagCondition()};
  private final LongWrapper iterator = new LongWrapper();
  private final IntWrapper number = new IntWrapper();

  @Override
  public void add(int from, int to) {
    for (int i = from; i < to; i++) {
      addOne(i);
    }
  }

  @Override
  public void addOne(int i) {
    tag.m_tagName = TagSet.name(i);
    tag.m_descriptor = TagSet.descriptor(i);
    tag.m_engUnits = TagSet.unit();
    tag.m_tagType = FLOAT64;
    tag.m_archiving = true;
    check("addTag", Jni_Zervane.addTag(tag, PROPERTIES, 0));
  }

  @Override
  public int first(TagPattern pattern) {
    check(
        "queryBasicTagsByConds",
        Jni_Zervane.queryBasicTagsByConds(conditions(pattern), 1, ALL, ALL, iterator));
    int status = Jni_Zervane.getItemStep(iterator.Value, point);
    Jni_Zervane.freeIterator(iterator.Value);
    if (status == END_OF_ITERATION) {
      return 0;
    }
    check("getItemStep", status);
    return point.m_tagID;
  }

  @Override
  public int page(int start, int capacity, TagPattern pattern, Checksum checksum) {
    check(
        "querySpecifyPageTagsCond",
        Jni_Zervane.querySpecifyPageTagsCond(
            1L << POINTS, conditions(pattern), 1, ALL, 0, start, capacity, iterator));
    int count = 0;
    int status = Jni_Zervane.getCommItemStep(iterator.Value, item);
    while (status == 0) {
      count++;
      checksum.add(item.m_tagID, item.m_span, item.m_tagName.length());
      status = Jni_Zervane.getCommItemStep(iterator.Value, item);
    }
    Jni_Zervane.freeIterator(iterator.Value);
    check("getCommItemStep", status == END_OF_ITERATION ? 0 : status);
    return count;
  }

  @Override
  public int count(TagPattern pattern) {
    check(
        "queryTagNumCond", Jni_Zervane.queryTagNumCond(POINTS, conditions(pattern), 1, number));
    return number.Value;
  }

  private ZRQueryTagCondition[] conditions(TagPattern pattern) {
    conditions[0].tagPropID = pattern.isOfName() ? NAME : DESCRIPTOR;
    conditions[0].queryRelation = LIKE;
    conditions[0].queryValue = pattern.text();
    return conditions;
  }

  private static void check(String call, int status) {
    if (status != 0) {
      throw new IllegalStateException(call + " returned " + status);
    }
  }
}
