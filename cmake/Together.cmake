# SPDX-License-Identifier: LGPL-2.1-or-later
# With CMAKE_UNITY_BUILD, several files of a target are compiled as one: in a fifth of the time, since most of it goes
# to reading headers. Names that are a file's own meet there, so files whose names are others', too, stay by themselves.

function(kelaccount_compile_apart target)
  if(TARGET ${target})
    set_property(SOURCE ${ARGN} TARGET_DIRECTORY ${target} PROPERTY SKIP_UNITY_BUILD_INCLUSION ON)
  endif()
endfunction()

set(kel_here ${PROJECT_SOURCE_DIR})
# The kernel's header for TCP has what the C library's has.
kelaccount_compile_apart(kelaccount_rest ${kel_here}/src/rest/transport/receivedbytes.cpp)
# Tests have files of their own in place of these, and want the others.
kelaccount_compile_apart(kelaccount_rest
  ${kel_here}/src/rest/restrequesthandler.cpp ${kel_here}/src/rest/restrequesthandler_transport.cpp)
kelaccount_compile_apart(kelaccount_wire ${kel_here}/src/rest/request/serviceaddress.cpp)
# What is looked at by the objects of these alone, by the test of the binary interface.
kelaccount_compile_apart(kelaccount_account
  ${kel_here}/src/account/commonutils.cpp ${kel_here}/src/account/recording/flightrecorder.cpp
  ${kel_here}/src/account/texts/statustext.cpp)
kelaccount_compile_apart(kelaccount_client
  ${kel_here}/src/client/call.cpp ${kel_here}/src/client/client.cpp ${kel_here}/src/client/failures.cpp)
# Of these, kelaccount links some files alone, and tests have files of their own in place of others.
set_property(TARGET kelaccount_device kelaccount_platform PROPERTY UNITY_BUILD OFF)
kelaccount_compile_apart(kelaccount_account ${kel_here}/src/account/accountsignout.cpp)
kelaccount_compile_apart(kelaccount_wire ${kel_here}/src/rest/request/xmltext.cpp)
kelaccount_compile_apart(kelaccount_configure ${kel_here}/src/configure/ownidentities.cpp)
kelaccount_compile_apart(kelaccountsqml ${kel_here}/src/qml/failurevalue.cpp)
kelaccount_compile_apart(kelaccount_emulator
  ${kel_here}/emulator/run/companion.cpp
  ${kel_here}/emulator/run/session.cpp
  ${kel_here}/emulator/service/accountjson.cpp
  ${kel_here}/emulator/service/administration.cpp
  ${kel_here}/emulator/wire/proxy.cpp)
kelaccount_compile_apart(kelaccount_sandbox ${kel_here}/emulator/sandbox/sandbox.cpp)
# A name of another file is no shadow of one's own, and a class of a source is in no other program's file.
if(CMAKE_UNITY_BUILD AND TARGET kelaccount_options)
  target_compile_options(kelaccount_options INTERFACE
    -Wno-shadow $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local> $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-subobject-linkage>)
endif()
