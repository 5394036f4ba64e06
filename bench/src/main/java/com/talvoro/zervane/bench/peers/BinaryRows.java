package com.talvoro.zervane.bench.peers;

import com.talvoro.zervane.bench.Batch;
import java.nio.ByteBuffer;

/** Records in PostgreSQL's binary format of COPY: (time, value, tag, quality). */
final class BinaryRows {
  // A signature, no flags, no extension; rows of fields, each after its length; -1 for the end.
  private static final byte[] SIGNATURE = {
    'P', 'G', 'C', 'O', 'P', 'Y', '\n', (byte) 0xFF, '\r', '\n', 0, 0, 0, 0, 0, 0, 0, 0, 0
  };
  private static final short FIELDS = 4;
  private static final int VALUES_BYTES = Long.BYTES + Double.BYTES + Integer.BYTES + Short.BYTES;
  private static final int ROW_BYTES = Short.BYTES + FIELDS * Integer.BYTES + VALUES_BYTES;
  private static final short END = -1;

  private ByteBuffer bytes = ByteBuffer.allocate(0);

  /** Begins anew, with room for a number of records. */
  BinaryRows clear(int count) {
    int length = SIGNATURE.length + count * ROW_BYTES + Short.BYTES;
    if (bytes.capacity() < length) {
      bytes = ByteBuffer.allocate(length);
    }
    bytes.clear();
    return this;
  }

  BinaryRows begin() {
    bytes.put(SIGNATURE);
    return this;
  }

  BinaryRows add(Batch batch) {
    for (int i = 0; i < batch.size; i++) {
      bytes.putShort(FIELDS);
      bytes.putInt(Long.BYTES).putLong(batch.timeMs[i]);
      bytes.putInt(Double.BYTES).putDouble(batch.value[i]);
      bytes.putInt(Integer.BYTES).putInt(batch.tag[i]);
      bytes.putInt(Short.BYTES).putShort((short) batch.quality[i]);
    }
    return this;
  }

  BinaryRows end() {
    bytes.putShort(END);
    return this;
  }

  byte[] array() {
    return bytes.array();
  }

  int length() {
    return bytes.position();
  }
}
