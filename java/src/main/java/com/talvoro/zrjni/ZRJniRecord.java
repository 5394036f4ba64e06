package com.talvoro.zrjni;

/**
 * A value of a tag with its time and quality, mirroring {@code ZR3Record}.
 *
 * <p>Only the value field that belongs to the tag's type is read or written; the others stay as
 * they are.
 */
public class ZRJniRecord {
  /** Seconds since 1970-01-01 UTC, as the bits of an unsigned 32-bit number. */
  public int nSec;

  /** Milliseconds within the second, 0 to 999. */
  public short nMsec;

  /** Quality, 0 to 65,535: bits 7 and 6 tell good (192), uncertain (64) or bad (0). */
  public int nQuality;

  /** Tag type, 0 to 7; written when reading values, never read when writing them. */
  public byte nTagType;

  /** Value of an INT8 tag (type 0). */
  public byte nInt8;

  /** Value of an INT16 tag (type 1). */
  public short nInt16;

  /** Value of an INT32 tag (type 2). */
  public int nInt32;

  /** Value of a FLOAT32 tag (type 3). */
  public float fFloat32;

  /** Value of a FLOAT64 tag (type 4). */
  public double fFloat64;

  /** State number of a DIGITAL tag (type 5). */
  public byte nDigital;

  /** Value of a STRING tag (type 6), up to 999 bytes in the system encoding. */
  public String strValue;

  /** Value of a BLOB tag (type 7), up to 1,000 bytes. */
  public byte[] byteValue;
}
