package com.talvoro.zrjni.bridge;

import java.util.Collection;
import java.util.LinkedHashMap;
import java.util.Map;

/** Where the members of a record stand, in bytes; numbers are little-endian. */
final class Layout {
  enum Kind {
    TEXT,
    INTEGER,
    FLOAT
  }

  record Member(String name, Kind kind, int offset, int size) {}

  private final String name;
  private final int size;
  private final Map<String, Member> members = new LinkedHashMap<>();

  private Layout(String name, int size) {
    this.name = name;
    this.size = size;
  }

  static Layout of(String name, int size) {
    return new Layout(name, size);
  }

  /** A record that begins with all members of this one. */
  Layout extended(String extendedName, int extendedSize) {
    Layout layout = new Layout(extendedName, extendedSize);
    layout.members.putAll(members);
    return layout;
  }

  Layout text(String member, int offset, int width) {
    return add(member, Kind.TEXT, offset, width);
  }

  Layout int8(String member, int offset) {
    return add(member, Kind.INTEGER, offset, 1);
  }

  Layout int16(String member, int offset) {
    return add(member, Kind.INTEGER, offset, 2);
  }

  Layout int32(String member, int offset) {
    return add(member, Kind.INTEGER, offset, 4);
  }

  Layout int64(String member, int offset) {
    return add(member, Kind.INTEGER, offset, 8);
  }

  Layout float32(String member, int offset) {
    return add(member, Kind.FLOAT, offset, 4);
  }

  Layout float64(String member, int offset) {
    return add(member, Kind.FLOAT, offset, 8);
  }

  private Layout add(String member, Kind kind, int offset, int width) {
    if (offset + width > size
        || members.put(member, new Member(member, kind, offset, width)) != null) {
      throw new IllegalArgumentException(name + "." + member);
    }
    return this;
  }

  String name() {
    return name;
  }

  int size() {
    return size;
  }

  Collection<Member> members() {
    return members.values();
  }

  Member member(String member) {
    Member found = members.get(member);
    if (found == null) {
      throw new IllegalArgumentException(name + "." + member);
    }
    return found;
  }
}
