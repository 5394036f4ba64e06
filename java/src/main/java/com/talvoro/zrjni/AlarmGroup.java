package com.talvoro.zrjni;

/** A group of alarm tags in the tree of groups, mirroring {@code ZR3AlarmGroup}. */
public class AlarmGroup {
  /** Name, up to 255 bytes in the system encoding. */
  public String m_GroupName;

  /** Description, up to 255 bytes in the system encoding. */
  public String m_GroupDesc;

  /** Identifier of the group. */
  public int m_GroupID;

  /** Identifier of the parent group; 0 is the root. */
  public int m_ParentID;
}
