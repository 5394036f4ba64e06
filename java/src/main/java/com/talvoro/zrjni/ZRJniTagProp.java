package com.talvoro.zrjni;

/**
 * The properties of a point tag, mirroring {@code ZR3PtTagProp}.
 *
 * <p>Reading a point tag leaves {@link #m_tagClass} as it was.
 */
public class ZRJniTagProp extends CommonTagProperties {
  /** Address of the instrument, up to 511 bytes. */
  public String m_instrumentPoint;

  /** Kind of instrument address, an unsigned 8-bit number. */
  public byte m_instrumentPointType;

  /** Name of the data collector, up to 127 bytes. */
  public String m_CollectorName;

  /** Identifier of the data collector. */
  public int m_CollectorID;

  /** Name of the device, up to 127 bytes. */
  public String m_DeviceName;

  /** Identifier of the device; never read: adding sends 0, modifying sends no defined value. */
  public int m_DeviceID;

  /** Name of the scan group, up to 127 bytes. */
  public String m_ScanGroupName;

  /** Identifier of the scan group. */
  public int m_ScanGroupID;

  /** Free parameter 1, an unsigned 8-bit number. */
  public byte m_param1;

  /** Free parameter 2, an unsigned 8-bit number. */
  public byte m_param2;

  /** Free parameter 3, an unsigned 8-bit number. */
  public byte m_param3;

  /** Free parameter 4, an unsigned 8-bit number. */
  public byte m_param4;

  /** Free parameter 5, an unsigned 8-bit number. */
  public byte m_param5;
}
