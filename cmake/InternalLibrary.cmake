# SPDX-License-Identifier: LGPL-2.1-or-later

# kelaccount_internal_library(NAME [OBJECT] SOURCES ... LINK ...)
# A library that is folded into the shared one and that tests link directly. It is static, so only
# what is used is taken of it; with OBJECT, all of it is, for what the shared library exports.
function(kelaccount_internal_library name)
  cmake_parse_arguments(arg "OBJECT" "" "SOURCES;LINK" ${ARGN})
  if(arg_OBJECT)
    add_library(${name} OBJECT ${arg_SOURCES})
    target_compile_definitions(${name} PRIVATE KELACCOUNT_BUILDING)
  else()
    add_library(${name} STATIC ${arg_SOURCES})
  endif()
  target_include_directories(${name} PUBLIC
    ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src ${PROJECT_BINARY_DIR}/src)
  target_link_libraries(${name} PUBLIC ${arg_LINK} PRIVATE kelaccount_options)
endfunction()
