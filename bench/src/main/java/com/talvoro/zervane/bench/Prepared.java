package com.talvoro.zervane.bench;

/** A batch in the form in which a subject takes it: what {@link Subject#prepare} made of it. */
public interface Prepared {}
