package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.DoubleWrapper;
import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTime;
import java.util.List;

/** The archive, and statistics over it. */
final class DeedsOfHistory {
  private static final byte ANY = 0;
  private static final ZRJniTime FIRST = Records.time(1, 0);
  private static final ZRJniTime SECOND = Records.time(2, 0);

  private DeedsOfHistory() {}

  private static ZRJniRecord[] instants() {
    return new ZRJniRecord[] {Records.at(1, 500), Records.at(3, 0)};
  }

  /** One of the statistics that have a method of their own. */
  private interface Statistic {
    int of(int tag, ZRJniTime start, ZRJniTime end, DoubleWrapper value);
  }

  private static Deed statistic(String method, double expected, Statistic statistic) {
    return Deed.of(
        method,
        stack -> {
          DoubleWrapper value = new DoubleWrapper();
          assertEquals(Codes.OK, statistic.of(stack.source, FIRST, SECOND, value));
          assertEquals(expected, value.Value);
        },
        stack ->
            assertEquals(
                Codes.INVALID_REGION,
                statistic.of(stack.source, SECOND, FIRST, new DoubleWrapper())));
  }

  static List<Deed> all() {
    return List.of(
        Deed.of(
            "queryRawRecordsCount",
            stack -> {
              IntWrapper count = new IntWrapper();
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.queryRawRecordsCount(
                      stack.source, Records.BEGINNING, Records.END, count));
              assertEquals(4, count.Value);
            },
            stack ->
                assertEquals(
                    Codes.INVALID_REGION,
                    Jni_Zervane.queryRawRecordsCount(
                        stack.source, SECOND, FIRST, new IntWrapper()))),
        Deed.of(
            "queryRawRecords",
            stack ->
                assertEquals(
                    List.of(1.0, 2.0, 95.0, 4.0),
                    Records.doubles(Records.history(stack.source))),
            stack ->
                assertEquals(
                    Codes.TAG_NOT_FOUND,
                    Jni_Zervane.queryRawRecords(
                        Tags.UNKNOWN, ANY, FIRST, SECOND, 1, new ZRJniRecord[1]))),
        Deed.of(
            "querySpecifyNumRawRecords",
            stack -> {
              ZRJniRecord[] records = new ZRJniRecord[2];
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.querySpecifyNumRawRecords(
                      stack.source, ANY, SECOND, Records.BACKWARD, 2, records));
              assertEquals(1, records[1].fFloat64);
            },
            stack ->
                assertEquals(
                    Codes.INVALID_TIME,
                    Jni_Zervane.querySpecifyNumRawRecords(
                        stack.source,
                        ANY,
                        Records.time(1, 1000),
                        Records.FORWARD,
                        1,
                        new ZRJniRecord[1]))),
        Deed.of(
            "queryInterpRecords",
            stack -> {
              ZRJniRecord[] records = instants();
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.queryInterpRecords(stack.source, ANY, 2, records, new int[2]));
              assertEquals(1.5, records[0].fFloat64);
            },
            stack ->
                assertEquals(
                    Codes.TAG_NOT_FOUND,
                    Jni_Zervane.queryInterpRecords(
                        Tags.UNKNOWN, ANY, 2, instants(), new int[2]))),
        Deed.of(
            "queryInterpRecordsByMode",
            stack -> {
              ZRJniRecord[] records = instants();
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.queryInterpRecordsByMode(
                      stack.source, ANY, 2, records, new int[2], 1));
              assertEquals(1, records[0].fFloat64);
            },
            stack ->
                assertEquals(
                    Codes.INVALID_ARGUMENT,
                    Jni_Zervane.queryInterpRecordsByMode(
                        stack.source, ANY, 2, instants(), new int[2], 2))),
        Deed.of(
            "queryTagsInterpRecordsByMode",
            stack -> {
              ZRJniRecord[] records = instants();
              int[] tags = {stack.source, stack.source};
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.queryTagsInterpRecordsByMode(0, tags, 2, records, new int[2]));
              assertEquals(95, records[1].fFloat64);
            },
            stack -> {
              int[] tags = {stack.source, Tags.UNKNOWN};
              int[] errors = new int[2];
              assertEquals(
                  Codes.SOME_INSTANTS_FAILED,
                  Jni_Zervane.queryTagsInterpRecordsByMode(0, tags, 2, instants(), errors));
              assertEquals(Codes.TAG_NOT_FOUND, errors[1]);
            }),
        Deed.of(
            "modifyRecord",
            stack -> {
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.modifyRecord(
                      stack.source, ValueType.FLOAT64.number(), Records.float64(4, 44)));
              assertEquals(44, Records.current(stack.source).fFloat64);
            },
            stack ->
                assertEquals(
                    Codes.NO_RECORD,
                    Jni_Zervane.modifyRecord(
                        stack.source, ValueType.FLOAT64.number(), Records.float64(5, 44)))),
        statistic(
            "getTagMean",
            1.5,
            (tag, start, end, value) ->
                Jni_Zervane.getTagMean(tag, start, end, 0, 0, 0, value)),
        statistic(
            "getTagMax",
            2,
            (tag, start, end, value) -> Jni_Zervane.getTagMax(tag, start, end, 0, value)),
        statistic(
            "getTagMin",
            1,
            (tag, start, end, value) -> Jni_Zervane.getTagMin(tag, start, end, 0, value)),
        statistic(
            "getTagSum",
            3,
            (tag, start, end, value) -> Jni_Zervane.getTagSum(tag, start, end, 0, value)),
        statistic("getTagPercentGood", 100, Jni_Zervane::getTagPercentGood),
        statistic(
            "getTagStats",
            1,
            (tag, start, end, value) ->
                Jni_Zervane.getTagStats(tag, 24, start, end, 0, 0, 0, 0, 0, "", 0, 0, value)));
  }
}
