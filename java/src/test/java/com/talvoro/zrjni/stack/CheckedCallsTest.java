package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;

import com.talvoro.zrjni.DoubleWrapper;
import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniCommTagProp;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTagProp;
import com.talvoro.zrjni.ZRJniTime;
import com.talvoro.zrsdk.common.ZRQueryTagCondition;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;

/**
 * The tags are made in this virtual machine: adding and modifying a tag read a byte field as an
 * integer, as they must, and the checker stops a virtual machine that does.
 */
@DisplayName("Under the virtual machine's checker of JNI calls")
class CheckedCallsTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  @Test
  void nothingIsFoundInTheCallsOfATagsWholeLife() throws Exception {
    for (ValueType type : ValueType.values()) {
      Tags.add(type.name(), type);
    }
    database.close();

    ChildJvm.Result result =
        ChildJvm.withLibrary().option("-Xcheck:jni").run(TagsLifeMain.class, database.address());

    assertEquals(0, result.exitCode(), result.errors());
    assertFalse(result.output().contains("FATAL ERROR"), result.output());
    assertFalse(result.output().contains("WARNING in native method"), result.output());
  }

  /** Walks through the calls; ends with exit code 1 when one does not succeed. */
  static final class TagsLifeMain {
    private static final int COUNT = ValueType.values().length;

    public static void main(String[] arguments) {
      check(Jni_Zervane.connectEx(arguments[0], 0, null, 0));
      settings();
      int[] ids = lookups();
      searching();
      writing(ids);
      reading(ids);
      asking(ids);
      for (int id : ids) {
        check(Jni_Zervane.deleteTag(id));
      }
      check(Jni_Zervane.disconnect());
    }

    private static void settings() {
      check(Jni_Zervane.testConnect(new IntWrapper(), 1));
      Jni_Zervane.setRequestTimeout(1);
      Jni_Zervane.setAPIOption(0);
      Jni_Zervane.setRequestCacheCapacity(10);
      check(Jni_Zervane.getServerMsTime(new LongWrapper()));
      Jni_Zervane.getIDItemStep(0, new IntWrapper());
      check(Jni_Zervane.freeIterator(0));
    }

    private static int[] lookups() {
      String[] names = new String[COUNT];
      for (ValueType type : ValueType.values()) {
        names[type.ordinal()] = type.name();
        int id = Jni_Zervane.queryTagID(type.name());
        check(Jni_Zervane.queryTagType(type.name()) - type.number());
        check(Jni_Zervane.queryTagIDByName(type.name(), new IntWrapper()));
        check(Jni_Zervane.getTagType(id, new IntWrapper()));
        check(Jni_Zervane.getTag(id, new ZRJniTagProp()));
      }
      int[] ids = new int[COUNT];
      check(Jni_Zervane.queryTagIDsByNames(names, COUNT, ids, new int[COUNT]));
      check(Jni_Zervane.getNewlyTagVersion(new LongWrapper()));
      return ids;
    }

    private static void searching() {
      ZRQueryTagCondition[] conditions = {Column.NAME.is(Relation.LIKE, "*")};
      LongWrapper handle = new LongWrapper();
      readPoint(Jni_Zervane.queryTagsCond("*", "", -1, -1));
      check(Jni_Zervane.queryTagsCondEx("*", "", -1, -1, handle));
      readPoint(handle.Value);
      check(Jni_Zervane.queryBasicTagsByConds(conditions, 1, -1, -1, handle));
      readPoint(handle.Value);
      check(Jni_Zervane.queryTagsByConds(conditions, 1, -1, -1, handle));
      readTag(handle.Value);
      check(Jni_Zervane.querySpecifyPageTagsCond(-1, conditions, 1, -1, -1, 0, COUNT, handle));
      readTag(handle.Value);
      IntWrapper count = new IntWrapper();
      check(Jni_Zervane.queryTagNumCond(0, conditions, 1, count));
      check(Jni_Zervane.queryAllTagsProps(-1, -1, count, handle));
      check(
          Jni_Zervane.getPropArray(
              count.Value, handle.Value, new ZRJniCommTagProp[count.Value]));
    }

    private static void readPoint(long handle) {
      check(Jni_Zervane.getItemStep(handle, new ZRJniTagProp()));
      check(Jni_Zervane.freeIterator(handle));
    }

    private static void readTag(long handle) {
      check(Jni_Zervane.getCommItemStep(handle, new ZRJniCommTagProp()));
      check(Jni_Zervane.freeIterator(handle));
    }

    private static void writing(int[] ids) {
      int[] errors = new int[COUNT];
      for (ValueType type : ValueType.values()) {
        int id = ids[type.ordinal()];
        ZRJniRecord[] records = {record(type, 10), record(type, 11)};
        check(Jni_Zervane.saveSnapShot(id, type.number(), records[0]));
        check(Jni_Zervane.saveDisorderSnapshots(2, id, records));
      }
      check(Jni_Zervane.saveSnapshots(ids, COUNT, records(20), errors));
      check(Jni_Zervane.saveSnapshotsNowait(ids, COUNT, records(21), errors));
      check(Jni_Zervane.saveTagsDisorderSnapshots(COUNT, ids, records(15), errors));
    }

    private static void reading(int[] ids) {
      ZRJniRecord[] records = new ZRJniRecord[COUNT];
      check(Jni_Zervane.querySnapShots(ids, COUNT, records, new int[COUNT]));
      for (int id : ids) {
        ZRJniRecord[] history = new ZRJniRecord[5];
        check(Jni_Zervane.querySnapShot(id, (byte) 0, new ZRJniRecord()));
        check(
            Jni_Zervane.queryRawRecordsCount(id, Records.BEGINNING, Records.END, new IntWrapper()));
        check(
            Jni_Zervane.queryRawRecords(id, (byte) 0, Records.BEGINNING, Records.END, 5, history));
        check(
            Jni_Zervane.querySpecifyNumRawRecords(
                id, (byte) 0, Records.END, Records.BACKWARD, 5, history));
      }
    }

    private static void asking(int[] ids) {
      int[] errors = new int[COUNT];
      check(Jni_Zervane.queryTagsInterpRecordsByMode(1, ids, COUNT, records(20), errors));
      for (ValueType type : ValueType.values()) {
        int id = ids[type.ordinal()];
        ZRJniRecord[] instants = {Records.at(15, 500), Records.at(20, 0)};
        check(Jni_Zervane.queryInterpRecords(id, (byte) 0, 2, instants, new int[2]));
        check(Jni_Zervane.queryInterpRecordsByMode(id, (byte) 0, 2, instants, new int[2], 1));
        check(Jni_Zervane.modifyRecord(id, type.number(), record(type, 20)));
        statistics(id);
      }
    }

    private static void statistics(int id) {
      DoubleWrapper value = new DoubleWrapper();
      ZRJniTime from = Records.time(10, 0);
      ZRJniTime to = Records.time(20, 0);
      check(Jni_Zervane.getTagPercentGood(id, from, to, value));
      check(
          Jni_Zervane.getTagStats(id, 24, from, to, 0, 0, 0, 0, 0, "quality >= 0", 0, 1, value));
      // Of texts there are none of these: what they answer does not matter here.
      Jni_Zervane.getTagMean(id, from, to, 0, 0, 0, value);
      Jni_Zervane.getTagMax(id, from, to, 0, value);
      Jni_Zervane.getTagMin(id, from, to, 0, value);
      Jni_Zervane.getTagSum(id, from, to, 0, value);
    }

    private static ZRJniRecord record(ValueType type, int second) {
      return Records.of(type, second, type.edges().get(1));
    }

    private static ZRJniRecord[] records(int second) {
      ZRJniRecord[] records = new ZRJniRecord[COUNT];
      for (ValueType type : ValueType.values()) {
        records[type.ordinal()] = record(type, second);
      }
      return records;
    }

    private static void check(int status) {
      if (status != 0) {
        throw new IllegalStateException("status " + status);
      }
    }
  }
}
