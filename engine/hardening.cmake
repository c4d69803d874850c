# What limits the harm of a fault that a damaged file finds: checked buffers, and tables of addresses that cannot be
# written once the program has started.
set(hardening_link_options -Wl,-z,relro -Wl,-z,now)
add_compile_options(-fstack-protector-strong)
add_link_options(${hardening_link_options})
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT MORVEX_SANITIZE)
  add_compile_definitions(_FORTIFY_SOURCE=2)
endif()

# Moves the symbols of a program or shared object into a file beside it, where debuggers look for them.
function(split_symbols target)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Release" OR MORVEX_SANITIZE)
    return()
  endif()
  set(file "$<TARGET_FILE:${target}>")
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${CMAKE_OBJCOPY} --only-keep-debug "${file}" "${file}.debug"
    COMMAND ${CMAKE_OBJCOPY} --strip-unneeded "--add-gnu-debuglink=${file}.debug" "${file}"
    VERBATIM)
endfunction()
