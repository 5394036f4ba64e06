# Warnings that every target of this project is built with.
add_compile_options(-Wall -Wextra -Wshadow -Wconversion -Wno-sign-conversion)
option(ZERVANE_WERROR "Treat warnings as errors" ON)
if(ZERVANE_WERROR)
  add_compile_options(-Werror)
endif()
