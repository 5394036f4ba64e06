package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.stream.IntStream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.EnumSource;

@DisplayName("Writing many current values")
class SnapshotBatchTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  /** The forms of writing records of many tags; they differ in the order of their arguments. */
  enum Form {
    WAITING {
      @Override
      int save(int[] ids, ZRJniRecord[] records, int[] errors) {
        return Jni_Zervane.saveSnapshots(ids, ids.length, records, errors);
      }
    },
    NO_WAIT {
      @Override
      int save(int[] ids, ZRJniRecord[] records, int[] errors) {
        return Jni_Zervane.saveSnapshotsNowait(ids, ids.length, records, errors);
      }
    },
    DISORDER {
      @Override
      int save(int[] ids, ZRJniRecord[] records, int[] errors) {
        return Jni_Zervane.saveTagsDisorderSnapshots(ids.length, ids, records, errors);
      }
    };

    abstract int save(int[] ids, ZRJniRecord[] records, int[] errors);
  }

  private static int[] addTags(ValueType... types) {
    int[] ids = new int[types.length];
    for (int i = 0; i < ids.length; i++) {
      ids[i] = Tags.add("TAG." + i, types[i]);
    }
    return ids;
  }

  private static ZRJniRecord[] float64Records(int... seconds) {
    return Arrays.stream(seconds)
        .mapToObj(second -> Records.float64(second, second + 0.5))
        .toArray(ZRJniRecord[]::new);
  }

  private static int[] repeated(int id, int count) {
    return IntStream.generate(() -> id).limit(count).toArray();
  }

  @ParameterizedTest
  @EnumSource(Form.class)
  void keepsARecordOfEveryType(Form form) {
    int[] ids = addTags(ValueType.values());
    ZRJniRecord[] records = new ZRJniRecord[ids.length];
    for (ValueType type : ValueType.values()) {
      records[type.ordinal()] = Records.of(type, 100, type.edges().get(1));
    }
    int[] errors = repeated(7, ids.length);

    assertEquals(Codes.OK, form.save(ids, records, errors));

    assertArrayEquals(new int[ids.length], errors);
    database.reopen();
    for (ValueType type : ValueType.values()) {
      ZRJniRecord expected = Records.of(type, 100, type.edges().get(1));
      expected.nTagType = type.number();
      assertEquals(
          Records.fieldsOf(expected), Records.fieldsOf(Records.current(ids[type.ordinal()])));
    }
  }

  @ParameterizedTest
  @EnumSource(Form.class)
  void carriesOutTheOthersWhenSomeRecordsAreRefused(Form form) {
    int[] ids = addTags(ValueType.FLOAT64, ValueType.STRING, ValueType.FLOAT64);
    ZRJniRecord[] records = {
      Records.float64(100, 1.5),
      Records.of(ValueType.STRING, 100, "x".repeat(1000)),
      Records.at(100, 1000),
    };
    int[] errors = {7, 7, 7};

    assertEquals(Codes.SOME_RECORDS_FAILED, form.save(ids, records, errors));

    assertArrayEquals(new int[] {0, Codes.VALUE_TOO_LONG, Codes.INVALID_TIME}, errors);
    database.reopen();
    assertEquals(1.5, Records.current(ids[0]).fFloat64);
    assertEquals(List.of(), Records.history(ids[1]));
    assertEquals(List.of(), Records.history(ids[2]));
  }

  @ParameterizedTest
  @EnumSource(Form.class)
  void sendsNothingWhenATagIsUnknown(Form form) {
    int known = Tags.add("A", ValueType.FLOAT64);
    int[] ids = {known, Tags.UNKNOWN, known};
    int[] errors = {7, 7, 7};

    assertEquals(Codes.TAG_NOT_FOUND, form.save(ids, float64Records(1, 2, 3), errors));
    assertArrayEquals(new int[] {7, 7, 7}, errors);
    assertEquals(List.of(), Records.history(known));
  }

  @ParameterizedTest
  @EnumSource(Form.class)
  void ofNoRecordsSucceeds(Form form) {
    assertEquals(Codes.OK, form.save(new int[0], new ZRJniRecord[0], new int[0]));
  }

  @ParameterizedTest
  @EnumSource(Form.class)
  void takesOneTagManyTimesInTheOrderGiven(Form form) {
    int id = Tags.add("A", ValueType.FLOAT64);

    assertEquals(Codes.OK, form.save(repeated(id, 3), float64Records(10, 11, 12), new int[3]));
    database.reopen();
    assertEquals(List.of(10, 11, 12), Records.seconds(Records.history(id)));
    assertEquals(12, Records.current(id).nSec);
  }

  @ParameterizedTest
  @EnumSource(
      value = Form.class,
      names = {"WAITING", "NO_WAIT"})
  void refusesTheRecordsThatAreOutOfOrder(Form form) {
    int id = Tags.add("A", ValueType.FLOAT64);
    int[] errors = new int[4];

    assertEquals(
        Codes.SOME_RECORDS_FAILED,
        form.save(repeated(id, 4), float64Records(10, 9, 10, 11), errors));
    assertArrayEquals(new int[] {0, Codes.OUT_OF_ORDER, 0, 0}, errors);
    database.reopen();
    assertEquals(List.of(10, 11), Records.seconds(Records.history(id)));
  }

  @Test
  void inDisorderSortsTheHistoryAndMovesTheCurrentValueOnlyForward() {
    int id = Tags.add("A", ValueType.FLOAT64);
    int[] errors = new int[4];

    assertEquals(
        Codes.OK, Form.DISORDER.save(repeated(id, 4), float64Records(30, 10, 40, 20), errors));
    assertArrayEquals(new int[4], errors);
    assertEquals(List.of(10, 20, 30, 40), Records.seconds(Records.history(id)));
    assertEquals(40, Records.current(id).nSec);

    assertEquals(Codes.OK, Jni_Zervane.saveDisorderSnapshots(2, id, float64Records(15, 5)));
    assertEquals(List.of(5, 10, 15, 20, 30, 40), Records.seconds(Records.history(id)));
    assertEquals(40, Records.current(id).nSec);

    database.reopen();
    assertEquals(List.of(5, 10, 15, 20, 30, 40), Records.seconds(Records.history(id)));
    assertEquals(40, Records.current(id).nSec);
  }

  @Test
  void inDisorderOfOneTagTellsOnlyTheOverallStatus() {
    int id = Tags.add("A", ValueType.STRING);
    ZRJniRecord[] records = {
      Records.of(ValueType.STRING, 2, "kept"),
      Records.of(ValueType.STRING, 1, "x".repeat(1000)),
      Records.of(ValueType.STRING, 3, "kept too"),
    };

    assertEquals(Codes.SOME_RECORDS_FAILED, Jni_Zervane.saveDisorderSnapshots(3, id, records));
    assertEquals(List.of(2, 3), Records.seconds(Records.history(id)));
    assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.saveDisorderSnapshots(3, Tags.UNKNOWN, records));
    assertEquals(Codes.OK, Jni_Zervane.saveDisorderSnapshots(0, id, new ZRJniRecord[0]));
  }

  @Test
  void withoutWaitingLosesNoneAtTheDisconnection() {
    int id = Tags.add("A", ValueType.FLOAT64);
    int batches = 200;
    int batchSize = 50;
    for (int batch = 0; batch < batches; batch++) {
      int first = 1 + batch * batchSize;
      int[] seconds = IntStream.range(first, first + batchSize).toArray();
      int status =
          Jni_Zervane.saveSnapshotsNowait(
              repeated(id, batchSize), batchSize, float64Records(seconds), new int[batchSize]);
      assertEquals(Codes.OK, status);
    }

    database.reopen();

    List<Integer> all = IntStream.rangeClosed(1, batches * batchSize).boxed().toList();
    assertEquals(all, Records.seconds(Records.history(id)));
  }

  @Test
  void withoutWaitingShowsThemNoLaterThanWhatIsWrittenNext() {
    int id = Tags.add("A", ValueType.FLOAT64);
    int next = Tags.add("B", ValueType.FLOAT64);
    int[] errors = new int[2];

    assertEquals(Codes.OK, Form.NO_WAIT.save(repeated(id, 2), float64Records(1, 2), errors));
    assertEquals(Codes.OK, Records.save(next, Records.float64(1, 1)));

    assertEquals(2, Records.current(id).nSec);
    assertEquals(List.of(1, 2), Records.seconds(Records.history(id)));
  }

  @Test
  void withoutWaitingJudgesTheOrderByWhatIsQueued() {
    int id = Tags.add("A", ValueType.FLOAT64);
    int[] errors = new int[1];

    assertEquals(Codes.OK, Form.NO_WAIT.save(repeated(id, 1), float64Records(10), errors));
    assertEquals(
        Codes.SOME_RECORDS_FAILED, Form.NO_WAIT.save(repeated(id, 1), float64Records(9), errors));
    assertArrayEquals(new int[] {Codes.OUT_OF_ORDER}, errors);
    assertEquals(Codes.OUT_OF_ORDER, Records.save(id, Records.float64(9, 1)));
  }

  @Test
  void isPossibleFromManyThreadsAtOnce() throws Exception {
    int threads = 8;
    int recordsEach = 500;
    int[] ids =
        addTags(
            IntStream.range(0, threads).mapToObj(i -> ValueType.FLOAT64).toArray(ValueType[]::new));
    ExecutorService executor = Executors.newFixedThreadPool(threads);
    try {
      List<Future<?>> writers = new ArrayList<>();
      for (int id : ids) {
        writers.add(executor.submit(() -> writeInBatches(id, recordsEach)));
      }
      for (Future<?> writer : writers) {
        writer.get();
      }
    } finally {
      executor.shutdownNow();
    }

    database.reopen();
    List<Integer> all = IntStream.rangeClosed(1, recordsEach).boxed().toList();
    for (int id : ids) {
      assertEquals(all, Records.seconds(Records.history(id)));
    }
  }

  private static void writeInBatches(int id, int count) {
    int batchSize = 20;
    for (int first = 1; first <= count; first += batchSize) {
      int[] seconds = IntStream.range(first, first + batchSize).toArray();
      assertEquals(
          Codes.OK,
          Form.WAITING.save(repeated(id, batchSize), float64Records(seconds), new int[batchSize]));
      assertEquals(first + batchSize - 1, Records.current(id).nSec);
    }
  }
}
