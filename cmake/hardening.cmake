# What limits the harm of a fault that a damaged file finds, and symbols kept apart from the program. No time of linking:
# equal sources make equal programs.
add_link_options(-Wl,--high-entropy-va -Wl,--dynamicbase -Wl,--nxcompat -Wl,--no-insert-timestamp)

# harden(target): guards on its stack frames, checked copies, checked indices into containers; and what a backtrace
# with lines needs.
function(harden target)
  target_compile_options(${target} PRIVATE
    -fstack-protector-strong $<$<CONFIG:Release>:-g1> "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
  target_compile_definitions(${target} PRIVATE _GLIBCXX_ASSERTIONS $<$<CONFIG:Release>:_FORTIFY_SOURCE=2>)
  target_link_libraries(${target} PUBLIC morvex_stack_guard)
endfunction()

# split_symbols(target): moves its symbols into a file beside it, where debuggers look for them. The tools would write
# the time into both.
function(split_symbols target)
  set(file "$<TARGET_FILE:${target}>")
  set(timeless ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0)
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${timeless} ${CMAKE_OBJCOPY} --only-keep-debug "${file}" "${file}.debug"
    COMMAND ${timeless} ${CMAKE_STRIP} --strip-all "${file}"
    COMMAND ${timeless} ${CMAKE_OBJCOPY} "--add-gnu-debuglink=${file}.debug" "${file}"
    VERBATIM)
endfunction()
