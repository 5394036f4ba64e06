package com.talvoro.zrjni;

/**
 * The properties that tags of every class have, mirroring the leading part of {@code
 * ZR3CommTagProp}, with which every tag property record begins.
 *
 * <p>Texts are limited in bytes of the system encoding. When a tag is added or modified three
 * fields are not read, and three properties take another field's value instead: the creation date
 * is {@link #m_changeDate}, the span is {@link #m_excDev} and the minimum is {@link #m_compDev}.
 * Reading a tag sets every field from its own property.
 */
public abstract class CommonTagProperties {
  /** Name: 1 to 255 bytes in the system encoding, unique without regard to ASCII case. */
  public String m_tagName;

  /** Identifier that the database gave the tag, as the bits of an unsigned 32-bit number. */
  public int m_tagID;

  /** Value type: 0 INT8, 1 INT16, 2 INT32, 3 FLOAT32, 4 FLOAT64, 5 DIGITAL, 6 STRING, 7 BLOB. */
  public byte m_tagType;

  /** Class: 0 basic, 1 alarm, 2 statistics, 3 calculation, 4 process control, 5 system. */
  public byte m_tagClass;

  /** Whether values are archived. */
  public boolean m_archiving;

  /** Whether the tag is scanned. */
  public boolean m_scan;

  /** Time of the last change, in seconds since 1970 UTC; on writing also of the creation. */
  public int m_changeDate;

  /** User who last changed the tag, up to 63 bytes. */
  public String m_changer;

  /** Time of creation, in seconds since 1970 UTC; never read when adding or modifying. */
  public int m_creationDate;

  /** User who created the tag, up to 63 bytes. */
  public String m_creator;

  /** Exception maximum time, in seconds. */
  public int m_excMaxTime;

  /** Exception deviation, in engineering units; when adding or modifying also the span. */
  public float m_excDev;

  /** Compression deviation, in engineering units; when adding or modifying also the minimum. */
  public float m_compDev;

  /** Compression maximum time, in seconds. */
  public int m_compMaxTime;

  /** Compression: 0 none, 1 swinging door. */
  public byte m_compType;

  /** Access rights on the tag's records. */
  public byte m_recAccess;

  /** Operating group for records, up to 63 bytes. */
  public String m_recOperateGroup;

  /** Owner group for records, up to 63 bytes. */
  public String m_recOwnerGroup;

  /** Access rights on the tag's definition. */
  public byte m_tagAccess;

  /** Operating group for the tag, up to 63 bytes. */
  public String m_tagOperateGroup;

  /** Owner group for the tag, up to 63 bytes. */
  public String m_tagOwnerGroup;

  /** Value span, in engineering units; never read when adding or modifying. */
  public float m_span;

  /** Minimum value, in engineering units; never read when adding or modifying. */
  public float m_minValue;

  /** Name of the digital state set, up to 63 bytes. */
  public String m_digitalSet;

  /** Engineering units, up to 63 bytes. */
  public String m_engUnits;

  /** Description, up to 2,047 bytes. */
  public String m_descriptor;
}
