package com.talvoro.zrjni;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.FileSystems;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.function.Function;

/**
 * Finds the native library and loads it, from the first of these places that has it: the folder
 * that the system property {@value #FOLDER_PROPERTY} names, the folders of {@code
 * java.library.path}, the jar. A folder that is named is the only place tried, so that a wrong one
 * is an error and never quietly another library.
 *
 * <p>The bridge finds the two libraries that it needs in the folder that it stands in.
 */
final class NativeLoader {
  static final String FOLDER_PROPERTY = "zervane.library.path";

  private static final String LIBRARY = "zrDataSDK";
  private static final String BRIDGE_FILE = "libzrDataSDK.so.1.0.0";
  private static final List<String> FILES =
      List.of("libzrOS.so.1.0.0", "libzrVaskAPI.so.1.0.0", BRIDGE_FILE);

  /** The virtual machine's two ways of loading a library; both may throw UnsatisfiedLinkError. */
  interface Linker {
    void load(Path file);

    void loadLibrary(String name);
  }

  private final String folder;
  private final Linker linker;
  private final Function<String, InputStream> resources;

  /**
   * Looks in the given places.
   *
   * @param folder the folder that is named, or null
   * @param linker what loads a library
   * @param resources opens a file of the jar by its absolute name, or returns null
   */
  NativeLoader(String folder, Linker linker, Function<String, InputStream> resources) {
    this.folder = folder;
    this.linker = linker;
    this.resources = resources;
  }

  /** Loads the library into this virtual machine. */
  static void loadForThisVirtualMachine() {
    new NativeLoader(
            System.getProperty(FOLDER_PROPERTY),
            new VirtualMachineLinker(),
            NativeLoader.class::getResourceAsStream)
        .load();
  }

  /**
   * Loads the library.
   *
   * @throws UnsatisfiedLinkError naming every place tried and why it failed
   */
  void load() {
    List<String> failures = new ArrayList<>();
    for (Place place : places()) {
      try {
        place.loader().run();
        return;
      } catch (IOException | UnsatisfiedLinkError e) {
        failures.add(place.name() + ": " + e.getMessage());
      }
    }
    throw new UnsatisfiedLinkError(
        "The native library "
            + LIBRARY
            + " was not loaded. Tried:\n  "
            + String.join("\n  ", failures));
  }

  private record Place(String name, Loading loader) {}

  private interface Loading {
    void run() throws IOException;
  }

  private List<Place> places() {
    if (folder != null && !folder.isEmpty()) {
      Path file = Path.of(folder).toAbsolutePath().resolve(BRIDGE_FILE);
      return List.of(
          new Place(
              FOLDER_PROPERTY + "=" + folder + " (nothing else while it is set)",
              () -> linker.load(file)));
    }
    return List.of(
        new Place("java.library.path", () -> linker.loadLibrary(LIBRARY)),
        new Place("the jar", this::loadFromJar));
  }

  /** Loads copies that are deleted at once: a library that is mapped needs its file no more. */
  private void loadFromJar() throws IOException {
    Path copies = createPrivateFolder();
    try {
      for (String file : FILES) {
        copyFromJar(file, copies);
      }
      linker.load(copies.resolve(BRIDGE_FILE));
    } finally {
      for (String file : FILES) {
        Files.deleteIfExists(copies.resolve(file));
      }
      Files.deleteIfExists(copies);
    }
  }

  /**
   * A folder that nobody else may enter, so that nobody can exchange a copy before it is loaded.
   */
  private static Path createPrivateFolder() throws IOException {
    if (!FileSystems.getDefault().supportedFileAttributeViews().contains("posix")) {
      throw new IOException("it has no libraries for " + platform());
    }
    return Files.createTempDirectory(
        "zervane-",
        PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rwx------")));
  }

  private void copyFromJar(String file, Path destination) throws IOException {
    String name = "/native/" + platform() + "/" + file;
    try (InputStream content = resources.apply(name)) {
      if (content == null) {
        throw new IOException("it has no " + name);
      }
      Files.copy(content, destination.resolve(file));
    }
  }

  private static String platform() {
    String system = System.getProperty("os.name").toLowerCase(Locale.ROOT);
    String machine = System.getProperty("os.arch");
    return system + "/" + (machine.equals("amd64") ? "x86_64" : machine);
  }

  /** Binds the library to the class loader of this class, which is that of the native methods. */
  private static final class VirtualMachineLinker implements Linker {
    @Override
    public void load(Path file) {
      System.load(file.toString());
    }

    @Override
    public void loadLibrary(String name) {
      System.loadLibrary(name);
    }
  }
}
