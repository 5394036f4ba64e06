package com.talvoro.zrjni;

/**
 * The properties of an alarm tag, mirroring {@code ZR3AlarmTagProp}.
 *
 * <p>Texts have up to 255 bytes in the system encoding. Reading an alarm tag leaves {@link
 * #m_tagClass} as it was.
 */
public class ZRJniAlarmTag extends CommonTagProperties {
  /** Alarm test 1; empty for none. */
  public String m_Test1;

  /** Alarm test 2; empty for none. */
  public String m_Test2;

  /** Alarm test 3; empty for none. */
  public String m_Test3;

  /** Alarm test 4; empty for none. */
  public String m_Test4;

  /** Action attached to alarm test 1; empty for none. */
  public String m_Action1;

  /** Action attached to alarm test 2; empty for none. */
  public String m_Action2;

  /** Action attached to alarm test 3; empty for none. */
  public String m_Action3;

  /** Action attached to alarm test 4; empty for none. */
  public String m_Action4;

  /** Name of the tag whose values are watched. */
  public String m_SourceTagName;

  /** Alarm group that the tag belongs to; 0 is the root. */
  public int m_nAlarmGroupID;

  /** Acknowledgement: 0 manual, 1 automatic. */
  public byte m_nAutoAck;

  /** Seconds that a test must hold before the alarm is raised. */
  public int m_TimeDeadBand;

  /** Distance, in engineering units, to be crossed back before the alarm ends. */
  public float m_fValueDeadBand;
}
