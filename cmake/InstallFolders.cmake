# SPDX-License-Identifier: LGPL-2.1-or-later
# A packager may give the folders below the prefix (lib, bin, ...) or absolute, in the prefix or
# elsewhere. What lies below the prefix is found by the way from one to the other, so that the
# installation can be moved; what is given absolute stays where it is.

# kelaccount_install_way(RESULT FROM TO): for what is installed in FROM and looks for what is in TO.
function(kelaccount_install_way result from to)
  if(IS_ABSOLUTE "${to}")
    set(way "${to}")
  elseif(IS_ABSOLUTE "${from}")
    cmake_path(APPEND CMAKE_INSTALL_PREFIX "${to}" OUTPUT_VARIABLE way)
  else()
    file(RELATIVE_PATH way "/${from}" "/${to}")
  endif()
  set(${result} "${way}" PARENT_SCOPE)
endfunction()

# The same for the loader, which knows the folder of what it loads as $ORIGIN.
function(kelaccount_loader_way result from to)
  kelaccount_install_way(way "${from}" "${to}")
  if(NOT IS_ABSOLUTE "${way}")
    set(way "$ORIGIN/${way}")
  endif()
  set(${result} "${way}" PARENT_SCOPE)
endfunction()

option(KELACCOUNT_INSTALL_RPATH "What is installed knows the way to the installed library" ON)

# kelaccount_way_to_library(TARGET FOLDER BUILT COMPONENT)
# The target finds the library where it was built, by the way BUILT, and where it is installed, from FOLDER, also
# when that is none that the loader knows. A packager installs where the loader looks, and switches that off.
# (CMake would write such a path itself, but ends it with an empty element, which stands for the current folder.)
function(kelaccount_way_to_library target folder built component)
  kelaccount_loader_way(way "${folder}" "${CMAKE_INSTALL_LIBDIR}")
  set(ways "${built}" "${way}")
  list(REMOVE_DUPLICATES ways)
  set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH "${ways}")
  if(NOT KELACCOUNT_INSTALL_RPATH)
    set(file ${folder}/$<TARGET_FILE_NAME:${target}>)
    install(CODE "set(kel_file \"${file}\")
  cmake_path(ABSOLUTE_PATH kel_file
    BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\" OUTPUT_VARIABLE kel_file)
  file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}\${kel_file}\")"
      COMPONENT ${component})
  endif()
endfunction()
