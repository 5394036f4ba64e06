package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import java.util.List;

/** Searches for tags, and what their iterators hand out. */
final class DeedsOfSearches {
  private static final ZRQueryTagCondition[] NAMED = {Column.NAME.is(Relation.LIKE, "source")};
  private static final ZRQueryTagCondition[] NONSENSE = {Column.condition(77, 0, "")};

  private DeedsOfSearches() {}

  private static long points() {
    return Searches.open(NAMED);
  }

  static List<Deed> all() {
    return List.of(
        Deed.of(
            "queryTagsCond",
            stack -> {
              int handle = Jni_Zervane.queryTagsCond("sou*", "", Columns.ALL, Columns.ALL);
              assertEquals(List.of(stack.source), Searches.ids(Searches.points(handle)));
            },
            stack -> {
              stack.database.close();
              assertEquals(-1, Jni_Zervane.queryTagsCond("sou*", "", Columns.ALL, Columns.ALL));
              stack.database.open();
            }),
        Deed.of(
            "queryTagsCondEx",
            stack -> {
              LongWrapper handle = Searches.holder();
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.queryTagsCondEx("sou*", "", Columns.ALL, Columns.ALL, handle));
              assertEquals(List.of(stack.source), Searches.ids(Searches.points(handle.Value)));
            },
            stack ->
                assertEquals(
                    Codes.INVALID_MASK,
                    Jni_Zervane.queryTagsCondEx(
                        "sou*", "", 1L << 40, Columns.ALL, Searches.holder()))),
        Deed.of(
            "queryBasicTagsByConds",
            stack -> {
              LongWrapper handle = Searches.holder();
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.queryBasicTagsByConds(NAMED, 1, Columns.ALL, Columns.ALL, handle));
              assertEquals(List.of(stack.source), Searches.ids(Searches.points(handle.Value)));
            },
            stack ->
                assertEquals(
                    Codes.INVALID_ARGUMENT,
                    Jni_Zervane.queryBasicTagsByConds(
                        NONSENSE, 1, Columns.ALL, Columns.ALL, Searches.holder()))),
        Deed.of(
            "queryTagsByConds",
            stack -> {
              LongWrapper handle = Searches.holder();
              assertEquals(
                  Codes.OK, Jni_Zervane.queryTagsByConds(NAMED, 1, -1, Columns.ALL, handle));
              assertEquals(List.of(stack.source), Searches.ids(Searches.tags(handle.Value)));
            },
            stack ->
                assertEquals(
                    Codes.INVALID_MASK,
                    Jni_Zervane.queryTagsByConds(
                        NAMED, 1, 0, Columns.ALL, Searches.holder()))),
        Deed.of(
            "querySpecifyPageTagsCond",
            stack -> {
              LongWrapper handle = Searches.holder();
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.querySpecifyPageTagsCond(
                      -1, NAMED, 1, Columns.ALL, Columns.ALL, 0, 10, handle));
              assertEquals(List.of(stack.source), Searches.ids(Searches.tags(handle.Value)));
            },
            stack ->
                assertEquals(
                    Codes.INVALID_COUNT,
                    Jni_Zervane.querySpecifyPageTagsCond(
                        -1, NAMED, 1, Columns.ALL, Columns.ALL, 0, 0, Searches.holder()))),
        Deed.of(
            "queryTagNumCond",
            stack -> {
              IntWrapper count = new IntWrapper();
              assertEquals(Codes.OK, Jni_Zervane.queryTagNumCond(6, NAMED, 1, count));
              assertEquals(1, count.Value);
            },
            stack ->
                assertEquals(
                    Codes.INVALID_TAG_CLASS,
                    Jni_Zervane.queryTagNumCond(7, NAMED, 1, new IntWrapper()))),
        Deed.of(
            "getItemStep",
            stack -> {
              ZRJniTagProp tag = new ZRJniTagProp();
              long handle = points();
              assertEquals(Codes.OK, Jni_Zervane.getItemStep(handle, tag));
              assertEquals(stack.source, tag.m_tagID);
              Jni_Zervane.freeIterator(handle);
            },
            stack -> {
              long handle = points();
              assertEquals(Codes.OK, Jni_Zervane.getItemStep(handle, new ZRJniTagProp()));
              assertEquals(
                  Codes.END_OF_ITERATION, Jni_Zervane.getItemStep(handle, new ZRJniTagProp()));
              Jni_Zervane.freeIterator(handle);
            }),
        Deed.of(
            "getCommItemStep",
            stack -> {
              ZRJniCommTagProp tag = new ZRJniCommTagProp();
              long handle = Searches.openOfClasses(-1, Columns.ALL, NAMED);
              assertEquals(Codes.OK, Jni_Zervane.getCommItemStep(handle, tag));
              assertEquals(stack.source, tag.m_tagID);
              Jni_Zervane.freeIterator(handle);
            },
            stack -> {
              long handle = Searches.openOfClasses(-1, Columns.ALL, NAMED);
              Jni_Zervane.freeIterator(handle);
              assertEquals(
                  Codes.INVALID_HANDLE,
                  Jni_Zervane.getCommItemStep(handle, new ZRJniCommTagProp()));
            }),
        Deed.thatNeverFails(
            "freeIterator",
            "a release that failed is not told",
            stack -> {
              long handle = points();
              assertEquals(0, Jni_Zervane.freeIterator(handle));
              assertEquals(
                  Codes.INVALID_HANDLE, Jni_Zervane.getItemStep(handle, new ZRJniTagProp()));
            }),
        Deed.of(
            "queryAllTagsProps",
            stack -> {
              IntWrapper count = new IntWrapper();
              LongWrapper array = new LongWrapper();
              assertEquals(Codes.OK, Jni_Zervane.queryAllTagsProps(-1, -1, count, array));
              assertEquals(2, count.Value);
              Jni_Zervane.getPropArray(2, array.Value, new ZRJniCommTagProp[2]);
            },
            stack ->
                assertEquals(
                    Codes.INVALID_MASK,
                    Jni_Zervane.queryAllTagsProps(0, -1, new IntWrapper(), new LongWrapper()))),
        Deed.thatNeverFails(
            "getPropArray",
            "count and address are trusted, and the answer is always 0",
            stack -> {
              IntWrapper count = new IntWrapper();
              LongWrapper array = new LongWrapper();
              assertEquals(Codes.OK, Jni_Zervane.queryAllTagsProps(-1, -1, count, array));
              ZRJniCommTagProp[] tags = new ZRJniCommTagProp[count.Value];
              assertEquals(0, Jni_Zervane.getPropArray(count.Value, array.Value, tags));
              assertEquals(stack.alarm, tags[1].m_tagID);
            }));
  }
}
