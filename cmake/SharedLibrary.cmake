# zervane_shared_library(target): gives a shared library the soname lib<target>.so.1.0.0, its plain .so link, all symbols
# resolved at link time, and a run path that finds its neighbours in the folder it stands in. The C++ runtime is linked into it
# and shown to nobody, so that it needs glibc and its neighbours alone; sanitizers have runtimes of their own and need it shared.
function(zervane_shared_library target)
  set_target_properties(${target} PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION}
    BUILD_RPATH_USE_ORIGIN ON
    BUILD_WITH_INSTALL_RPATH ON
    INSTALL_RPATH "$ORIGIN"
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
  if(NOT ZERVANE_SANITIZE)
    target_link_options(${target} PRIVATE
      -Wl,--no-undefined -Wl,--as-needed -static-libstdc++ -static-libgcc -Wl,--exclude-libs,ALL)
  endif()
endfunction()
