# ZERVANE_SANITIZE=address,undefined (or thread) builds everything with those sanitizers; any finding ends the process.
# What the code promises itself (engine/assert.h) is checked there, too, and in debug builds: wherever speed is not the point.
if(ZERVANE_SANITIZE)
  add_compile_options(-fsanitize=${ZERVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # A report needs names and lines; variables would make compiling and linking slower for nothing.
  add_compile_options(-g1)
  add_link_options(-fsanitize=${ZERVANE_SANITIZE})
  add_compile_definitions(ZERVANE_ASSERTS)
else()
  add_compile_definitions($<$<CONFIG:Debug>:ZERVANE_ASSERTS>)
endif()
