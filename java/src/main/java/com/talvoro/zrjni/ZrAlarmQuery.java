package com.talvoro.zrjni;

/**
 * The filter of an alarm record query, mirroring {@code ZR3AlarmQuery}.
 *
 * <p>Bit n of a mask admits the value n; 0 filters nothing. A mask is sign-extended to 64 bits, so
 * that a negative one has all its high bits set.
 */
public class ZrAlarmQuery {
  /** Start of the time range, in seconds since 1970 UTC. */
  public int nStartSec;

  /** Milliseconds of the start, 0 to 999. */
  public short nStartMsec;

  /** End of the time range, in seconds since 1970 UTC. */
  public int nEndSec;

  /** Milliseconds of the end, 0 to 999. */
  public short nEndMsec;

  /** Acknowledgement states that are wanted. */
  public byte nAckMask;

  /** Alarm types that are wanted. */
  public byte nTypeMask;

  /** Priorities that are wanted. */
  public byte nPriorMask;

  /** Restore states that are wanted. */
  public byte nRestoreMask;

  /** Looked up and never read: there is no filter on comments. */
  public byte nCommentMask;
}
