# SPDX-License-Identifier: LGPL-2.1-or-later

# kelaccount_internal_library(NAME SOURCES ... LINK ...)
# A static library that is folded into the shared one and that tests link directly.
function(kelaccount_internal_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;LINK" ${ARGN})
  add_library(${name} STATIC ${arg_SOURCES})
  target_include_directories(${name} PUBLIC
    ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src ${PROJECT_BINARY_DIR}/src)
  target_link_libraries(${name} PUBLIC ${arg_LINK} PRIVATE kelaccount_options)
endfunction()
