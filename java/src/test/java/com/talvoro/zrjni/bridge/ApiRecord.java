package com.talvoro.zrjni.bridge;

/**
 * A value record of the client library with the buffer of its text or bytes.
 *
 * @param struct the record; a buffer's address counts as 1
 * @param payload content of the buffer; null for none
 * @param offset where the buffer begins within its block of memory
 */
record ApiRecord(Struct struct, byte[] payload, int offset) {
  /** The content of a buffer in which anything may stand. */
  static final byte[] ANYTHING = new byte[0];

  /** A record that was zeroed before it was filled. */
  static ApiRecord cleared() {
    return new ApiRecord(Struct.cleared(Layouts.RECORD), null, 0);
  }

  /** A record that was not. */
  static ApiRecord uncleared() {
    return new ApiRecord(Struct.uncleared(Layouts.RECORD), null, 0);
  }

  ApiRecord set(String member, Object value) {
    struct.set(member, value);
    return this;
  }

  ApiRecord time(int seconds, int milliseconds) {
    return set("nSec", seconds).set("nMsec", milliseconds);
  }

  ApiRecord type(int type) {
    return set("nTagType", type);
  }

  /** Gives the record a buffer with that content, and the content's length. */
  ApiRecord buffer(byte[] content) {
    return buffer(content, 0);
  }

  /** Gives the record a buffer of that size for the client library to fill. */
  ApiRecord room(int size) {
    struct.set("pBuf", 1).set("nLenBuf", size);
    return new ApiRecord(struct, ANYTHING, 0);
  }

  /** A buffer with content, in the middle of a block. */
  ApiRecord buffer(byte[] content, int start) {
    struct.set("pBuf", 1).set("nLenBuf", content.length);
    return new ApiRecord(struct, content, start);
  }
}
