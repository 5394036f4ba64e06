package com.talvoro.zervane.bench;

/**
 * What a search asks for.
 *
 * @param isOfName whether the name is to be like the pattern, or else the description
 * @param text the pattern, in which {@code *} is any run of characters and {@code ?} any one
 */
public record TagPattern(boolean isOfName, String text) {
  static TagPattern ofName(String text) {
    return new TagPattern(true, text);
  }

  static TagPattern ofDescriptor(String text) {
    return new TagPattern(false, text);
  }
}
