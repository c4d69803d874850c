# Import libraries that load their DLL at the first call instead of at process start. A child process of a run needs
# none of the window libraries, and loading them would double its time.
#
# delay_imports(target dll...): links `target`, and what links it, against delayed versions of these system DLLs.
function(delay_imports target)
  foreach(name ${ARGN})
    find_library(import_${name} ${name} REQUIRED)
    set(folder "${CMAKE_BINARY_DIR}/delayed")
    set(definition "${folder}/${name}.def")
    set(library "${folder}/lib${name}_delayed.a")
    if(NOT EXISTS "${library}")
      file(MAKE_DIRECTORY "${folder}")
      execute_process(COMMAND ${CMAKE_NM} --defined-only "${import_${name}}"
        OUTPUT_VARIABLE symbols ERROR_QUIET COMMAND_ERROR_IS_FATAL ANY)
      string(REGEX MATCHALL " T [A-Za-z_][A-Za-z0-9_]*" functions "${symbols}")
      list(TRANSFORM functions REPLACE "^ T " "  ")
      list(REMOVE_DUPLICATES functions)
      list(JOIN functions "\n" exports)
      file(WRITE "${definition}" "LIBRARY ${name}.dll\nEXPORTS\n${exports}\n")
      execute_process(COMMAND ${CMAKE_DLLTOOL} -m i386:x86-64 -d "${definition}" -D ${name}.dll -y "${library}"
        COMMAND_ERROR_IS_FATAL ANY)
    endif()
    target_link_libraries(${target} PUBLIC "${library}")
  endforeach()
  target_link_libraries(${target} PUBLIC delayimp)
endfunction()
