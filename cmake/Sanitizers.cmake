# ZERVANE_SANITIZE=address,undefined (or thread) builds everything with those sanitizers; any finding ends the process.
if(ZERVANE_SANITIZE)
  add_compile_options(-fsanitize=${ZERVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${ZERVANE_SANITIZE})
endif()
