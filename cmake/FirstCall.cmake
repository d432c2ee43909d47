# SPDX-License-Identifier: LGPL-2.1-or-later
# The functions of a first call, side by side: of a library that is mapped from its file the kernel maps sixteen
# pages around each that is touched, so who makes one call would map all of it for functions that are spread over it.

# kelaccount_place_first_call(TARGET NAMES): the file NAMES has the functions, a line each, as the linker knows them. A
# name that is gone matches nothing. Where the linker tells its own script, they come first in it; other linkers place
# functions as they like.
function(kelaccount_place_first_call target names)
  # Sanitizers have code of theirs between functions, and Debug does not give each a section of its own.
  if(KELACCOUNT_SANITIZE OR CMAKE_BUILD_TYPE STREQUAL "Debug")
    return()
  endif()
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${names})

  # As the library is linked, for whatever machine.
  separate_arguments(flags UNIX_COMMAND
    "${CMAKE_CXX_COMPILER_ARG1} ${CMAKE_CXX_FLAGS} ${CMAKE_SHARED_LINKER_FLAGS}")
  if(CMAKE_CXX_COMPILER_TARGET AND CMAKE_CXX_COMPILE_OPTIONS_TARGET)
    list(APPEND flags "${CMAKE_CXX_COMPILE_OPTIONS_TARGET}${CMAKE_CXX_COMPILER_TARGET}")
  endif()
  if(CMAKE_SYSROOT AND CMAKE_CXX_COMPILE_OPTIONS_SYSROOT)
    list(APPEND flags "${CMAKE_CXX_COMPILE_OPTIONS_SYSROOT}${CMAKE_SYSROOT}")
  endif()
  get_directory_property(options LINK_OPTIONS)
  set(link ${CMAKE_CXX_COMPILER} ${flags} ${options} -shared -x c++ /dev/null
    -o ${CMAKE_CURRENT_BINARY_DIR}/firstcall.so)
  execute_process(COMMAND ${link} -Wl,--verbose OUTPUT_VARIABLE told ERROR_QUIET)
  # What runs when it is unloaded stands behind all functions otherwise, a page for a few bytes.
  string(REGEX MATCH "\n *\\.fini +:[^}]*}( *=0x[0-9a-f]+)?" last "${told}")
  string(REPLACE "${last}" "" told "${told}")
  string(REGEX REPLACE "(\n *\\.text +:)" "${last}\\1" told "${told}")
  string(FIND "${told}" "\nSECTIONS" from)
  string(FIND "${told}" "*(.text.unlikely " before)
  string(FIND "${told}" "\n======" to REVERSE)
  if(from LESS 0 OR before LESS from OR to LESS before)
    return()
  endif()

  file(STRINGS ${names} functions REGEX "^[^#]")
  # What runs whenever the library is loaded; what the compiler adds for that has no section of its own.
  set(sections "*crtbegin*.o(.text)\n    *(.text.startup .text.startup.*)\n")
  foreach(function IN LISTS functions)
    # Also what the compiler made of it, like a copy for constant arguments.
    string(APPEND sections "    *(.text.${function} .text.${function}.*)\n")
  endforeach()
  math(EXPR head "${before} - ${from}")
  math(EXPR tail "${to} - ${before}")
  string(SUBSTRING "${told}" ${from} ${head} head)
  string(SUBSTRING "${told}" ${before} ${tail} tail)
  set(script ${CMAKE_CURRENT_BINARY_DIR}/firstcall.ld)
  file(CONFIGURE OUTPUT ${script} @ONLY CONTENT "@head@@sections@    @tail@\n")
  execute_process(COMMAND ${link} -Wl,-T,${script} RESULT_VARIABLE refused OUTPUT_QUIET ERROR_QUIET)
  if(NOT refused)
    target_link_options(${target} PRIVATE "$<$<NOT:$<CONFIG:Debug>>:-Wl,-T,${script}>")
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${script})
  endif()
endfunction()
