# ZERVANE_SANITIZE=address,undefined (or thread) builds everything with those sanitizers; any finding ends the process.
if(ZERVANE_SANITIZE)
  add_compile_options(-fsanitize=${ZERVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZERVANE_SANITIZE})
endif()

# What the code promises itself is checked (engine/assert.h) wherever speed is not the point.
add_compile_definitions($<$<OR:$<CONFIG:Debug>,$<BOOL:${ZERVANE_SANITIZE}>>:ZERVANE_ASSERTS>)
