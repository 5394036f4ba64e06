package com.talvoro.zervane.bench;

import com.talvoro.zrjni.DoubleWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTime;
import java.util.List;

/** A history by the native methods, in the session that is open. */
final class ZervaneHistory implements HistoryCalls {
  /** The statistics for which there is a call of their own, both ends of its region included. */
  static final List<Statistic> SHORT_FORMS =
      List.of(
          Statistic.MEAN,
          Statistic.LEAST,
          Statistic.GREATEST,
          Statistic.SUM,
          Statistic.GOOD_SHARE);

  private static final byte FLOAT64 = 4;
  private static final int LINEAR = 0;

  /** Every value passes. */
  private static final String FILTER = "value > -1000000";

  private final ZervaneSubject subject;
  private final int[] ids;
  private final ZRJniTime from = new ZRJniTime();
  private final ZRJniTime to = new ZRJniTime();
  private final DoubleWrapper answer = new DoubleWrapper();
  private Prepared prepared;
  private int preparedSize;
  private int tagOfInstants;
  private ZRJniRecord[] instants = new ZRJniRecord[0];
  private int[] codes = new int[0];

  /**
   * @param ids identifiers by tag number
   */
  ZervaneHistory(ZervaneSubject subject, int[] ids) {
    this.subject = subject;
    this.ids = ids;
  }

  @Override
  public void add(Batch batch) {
    prepared = subject.prepare(batch, batch.size == preparedSize ? prepared : null);
    preparedSize = batch.size;
    subject.write(prepared, Durability.NO_WAIT);
  }

  @Override
  public void finish() {
    subject.flush();
  }

  @Override
  public double ask(Question question) {
    setRegion(question);
    check(
        "getTagStats",
        Jni_Zervane.getTagStats(
            ids[question.tag()],
            type(question.what()),
            from,
            to,
            0,
            0,
            0,
            question.low(),
            question.high(),
            question.what() == Statistic.FILTERED_MEAN ? FILTER : "",
            0,
            0,
            answer));
    return answer.Value;
  }

  @Override
  public double askWindow(Question question) {
    return ask(question);
  }

  /** Asks for one of {@link #SHORT_FORMS} by its own call. */
  double askShort(Question question) {
    setRegion(question);
    int id = ids[question.tag()];
    check(
        "short form of " + question.what(),
        switch (question.what()) {
          case MEAN -> Jni_Zervane.getTagMean(id, from, to, 0, 0, 0, answer);
          case LEAST -> Jni_Zervane.getTagMin(id, from, to, 0, answer);
          case GREATEST -> Jni_Zervane.getTagMax(id, from, to, 0, answer);
          case SUM -> Jni_Zervane.getTagSum(id, from, to, 0, answer);
          case GOOD_SHARE -> Jni_Zervane.getTagPercentGood(id, from, to, answer);
          default -> throw new IllegalArgumentException(question.what().toString());
        });
    return answer.Value;
  }

  @Override
  public void setInstants(int tag, long[] timesMs) {
    tagOfInstants = tag;
    codes = new int[timesMs.length];
    instants = new ZRJniRecord[timesMs.length];
    for (int i = 0; i < timesMs.length; i++) {
      instants[i] = new ZRJniRecord();
      instants[i].nSec = (int) (timesMs[i] / 1000);
      instants[i].nMsec = (short) (timesMs[i] % 1000);
    }
  }

  /** The call puts new records of the same times in the array, which serve the next call. */
  @Override
  public double[] interpolate() {
    check(
        "queryInterpRecordsByMode",
        Jni_Zervane.queryInterpRecordsByMode(
            ids[tagOfInstants], FLOAT64, instants.length, instants, codes, LINEAR));
    double[] values = new double[instants.length];
    for (int i = 0; i < values.length; i++) {
      check("an instant of queryInterpRecordsByMode", codes[i]);
      values[i] = instants[i].fFloat64;
    }
    return values;
  }

  @Override
  public void close() {}

  private void setRegion(Question question) {
    from.nSec = (int) (question.fromMs() / 1000);
    from.nMsec = (short) (question.fromMs() % 1000);
    to.nSec = (int) (question.toMs() / 1000);
    to.nMsec = (short) (question.toMs() % 1000);
  }

  /** The number of a statistic in the Java API. */
  private static int type(Statistic what) {
    return switch (what) {
      case GREATEST -> 0;
      case LEAST -> 1;
      case SUM -> 2;
      case LAST -> 3;
      case GOOD_SHARE -> 4;
      case MEAN, FILTERED_MEAN -> 5;
      case TIME_MEAN -> 6;
      case AREA -> 7;
      case COUNT_BETWEEN -> 12;
      case TIME_ABOVE -> 16;
    };
  }

  private static void check(String call, int status) {
    if (status != 0) {
      throw new IllegalStateException(call + " returned " + status);
    }
  }
}
