package com.talvoro.zervane.bench;

/** When a write returns. */
public enum Durability {
  /** When the records are synced to the disk: they survive a loss of power. */
  DURABLE,
  /** When the subject has taken the records over; {@link Subject#flush} makes them durable. */
  NO_WAIT
}
