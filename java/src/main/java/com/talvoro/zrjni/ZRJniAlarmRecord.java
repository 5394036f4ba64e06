package com.talvoro.zrjni;

/**
 * One occurrence of an alarm, mirroring {@code ZR3AlarmRecord}.
 *
 * <p>Native methods write it and never read it.
 */
public class ZRJniAlarmRecord {
  /** Alarm tag. */
  public int nAlarmTagID;

  /** Start of the alarm, in seconds since 1970 UTC. */
  public int startTimeSec;

  /** Milliseconds of that time, 0 to 999. */
  public short startTimeMSec;

  /** End of the alarm, in seconds since 1970 UTC. */
  public int endTimeSec;

  /** Milliseconds of that time, 0 to 999. */
  public short endTimeMSec;

  /** Time of acknowledgement, in seconds since 1970 UTC. */
  public int ackTimeSec;

  /** Milliseconds of that time, 0 to 999. */
  public short ackTimeMSec;

  /** Time of the comment, in seconds since 1970 UTC. */
  public int commentTimeSec;

  /** Milliseconds of that time, 0 to 999. */
  public short commentTimeMSec;

  /** Looked up by the alarm subscription and never written. */
  public int nextItemHandle;

  /** 1 when acknowledged, else 0. */
  public byte nAcked;

  /** 1 when returned to normal, else 0. */
  public byte nRestored;

  /** 1 when commented, else 0; not every method writes it. */
  public byte nCommented;

  /** Priority, 1 (first) to 4 (fourth). */
  public byte nPriority;

  /** Acknowledgement: 0 manual, 1 automatic. */
  public byte nAckType;

  /** Alarm type: 1 LOLO, 2 LOW, 3 HIHI, 4 HIGH, 5 CHANGE. */
  public byte nAlarmType;

  /** Source value as text. */
  public String strSrcValue;

  /** Alarm test that raised the alarm. */
  public String strTest;

  /** Comment; empty when there is none. */
  public String strComment;

  /** User who acknowledged. */
  public String strAcker;

  /** User who commented. */
  public String strCommentor;
}
