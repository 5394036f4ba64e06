package com.talvoro.zervane.demo;

import com.talvoro.zrjni.DoubleWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTime;

/** Has the database sum up what a tag's records say between the first and the last of some. */
final class Statistics {
  private static final int TIME_WEIGHTED_MEAN = 6;
  private static final float ANY_SHARE = 0;

  private final int tagId;
  private final ZRJniTime from;
  private final ZRJniTime to;

  Statistics(Catalogue.Tag tag, ZRJniRecord[] records) {
    this.tagId = tag.id();
    this.from = timeOf(records[0]);
    this.to = timeOf(records[records.length - 1]);
  }

  double mean() {
    DoubleWrapper value = new DoubleWrapper();
    int status = Jni_Zervane.getTagMean(tagId, from, to, 0, 0, ANY_SHARE, value);
    Status.check("getTagMean", status);
    return value.Value;
  }

  double least() {
    DoubleWrapper value = new DoubleWrapper();
    Status.check("getTagMin", Jni_Zervane.getTagMin(tagId, from, to, ANY_SHARE, value));
    return value.Value;
  }

  double greatest() {
    DoubleWrapper value = new DoubleWrapper();
    Status.check("getTagMax", Jni_Zervane.getTagMax(tagId, from, to, ANY_SHARE, value));
    return value.Value;
  }

  /** The mean over time, on the lines between records. */
  double timeWeightedMean() {
    DoubleWrapper value = new DoubleWrapper();
    int status =
        Jni_Zervane.getTagStats(
            tagId, TIME_WEIGHTED_MEAN, from, to, 0, 0, 0, 0, 0, "", 0, 0, value);
    Status.check("getTagStats", status);
    return value.Value;
  }

  /** The share of the time in which the tag was good, in percent. */
  double percentGood() {
    DoubleWrapper value = new DoubleWrapper();
    Status.check("getTagPercentGood", Jni_Zervane.getTagPercentGood(tagId, from, to, value));
    return value.Value;
  }

  private static ZRJniTime timeOf(ZRJniRecord record) {
    ZRJniTime time = new ZRJniTime();
    time.nSec = record.nSec;
    time.nMsec = record.nMsec;
    return time;
  }
}
