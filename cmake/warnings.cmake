# Warnings are errors for our own code; applied per folder so that outside sources (the test framework) stay out.
add_compile_options(
  -Wall -Wextra -Wconversion -Werror
  "$<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>")
