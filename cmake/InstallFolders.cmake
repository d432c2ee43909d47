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
