# SPDX-License-Identifier: LGPL-2.1-or-later
# What applications see, a row each: its name, the header that declares it, and what the shared library
# exports of it:
#   object     its members, its virtual table and its type information
#   functions  its members
#   gadget     its members, which are its meta-object
#   itself     it is a function
#   nothing    the header is all there is
# From these rows follow the linker's list of exports, the installed headers, those that bear the name
# alone (<kelaccount/KelAccounts>) and what the tests of the package expect. A function's begins with a
# capital (<kelaccount/StatusText>).
set(KELACCOUNT_PUBLIC_CLASSES
  "KelAccount::KelAccounts          kelaccounts.h          object"
  "KelAccount::Client               client.h               object"
  "KelAccount::CallBase             call.h                 functions"
  "KelAccount::ProfileInfo          profileinfo.h          object"
  "KelAccount::RegistrationInfo     registrationinfo.h     object"
  "CommonUtils                      commonutils.h          functions"
  "KelAccount::Call                 call.h                 nothing"
  "KelAccount::Outcome              call.h                 nothing"
  "KelAccount::Availability         results.h              nothing"
  "KelAccount::Captcha              results.h              nothing"
  "KelAccount::Country              results.h              nothing"
  "KelAccount::Failure              results.h              nothing"
  "KelAccount::PreAccount           results.h              nothing"
  "KelAccount::Profile              results.h              nothing"
  "KelAccount::Registration         results.h              nothing"
  "KelAccount::SecurityQuestions    results.h              nothing"
  "KelAccount::SetUp                results.h              nothing"
  "KelAccount::Terms                results.h              nothing"
  "KelAccount::ConsentQueryVariant  consentqueryvariant.h  nothing"
  "KelAccount::ErrorStatus          errorstatus.h          nothing"
  "KelAccount::PreAccountInfo       preaccountinfo.h       gadget"
  "KelAccount::ResultKey            resultkeys.h           nothing"
  "KelAccount::RecordingFormat      flightrecorder.h       nothing"
  "KelAccount::flightRecording      flightrecorder.h       itself"
  "KelAccount::recordedId           flightrecorder.h       itself"
  "KelAccount::isRetryable          statustext.h           itself"
  "KelAccount::statusField          statustext.h           itself"
  "KelAccount::statusName           statustext.h           itself"
  "KelAccount::statusText           statustext.h           itself")
# Headers that those include, with nothing in them for applications.
set(KELACCOUNT_PUBLIC_HELPERS export.h)

# Sets class, header and exported from a row.
macro(kelaccount_read_public_class row)
  separate_arguments(kel_parts UNIX_COMMAND "${row}")
  list(GET kel_parts 0 class)
  list(GET kel_parts 1 header)
  list(GET kel_parts 2 exported)
endmacro()

# kelaccount_public_headers(RESULT): the headers by name, each once.
function(kelaccount_public_headers result)
  set(headers ${KELACCOUNT_PUBLIC_HELPERS})
  foreach(row IN LISTS KELACCOUNT_PUBLIC_CLASSES)
    kelaccount_read_public_class("${row}")
    list(APPEND headers ${header})
  endforeach()
  list(REMOVE_DUPLICATES headers)
  set(${result} ${headers} PARENT_SCOPE)
endfunction()

# kelaccount_forwarding_name(CLASS RESULT): the header in the name of a class or a function.
function(kelaccount_forwarding_name class result)
  string(REGEX REPLACE "^.*::" "" name ${class})
  string(SUBSTRING ${name} 0 1 first)
  string(SUBSTRING ${name} 1 -1 rest)
  string(TOUPPER ${first} first)
  set(${result} ${first}${rest} PARENT_SCOPE)
endfunction()

# kelaccount_write_forwarding_headers(FOLDER RESULT): one for each row, in its name.
function(kelaccount_write_forwarding_headers folder result)
  set(written)
  foreach(row IN LISTS KELACCOUNT_PUBLIC_CLASSES)
    kelaccount_read_public_class("${row}")
    kelaccount_forwarding_name(${class} name)
    file(CONFIGURE OUTPUT ${folder}/${name} CONTENT "#include <kelaccount/${header}>\n")
    list(APPEND written ${folder}/${name})
  endforeach()
  set(${result} ${written} PARENT_SCOPE)
endfunction()

# kelaccount_write_exports(PATH VERSION): the linker's version script. Anything else, also the inline
# functions of Qt that happen to be compiled in, stays inside.
function(kelaccount_write_exports path version)
  set(names)
  foreach(row IN LISTS KELACCOUNT_PUBLIC_CLASSES)
    kelaccount_read_public_class("${row}")
    if(exported STREQUAL itself)
      string(APPEND names "            ${class}*;\n")
    elseif(NOT exported STREQUAL nothing)
      string(APPEND names "            ${class}::*;\n")
    endif()
    if(exported STREQUAL object)
      string(APPEND names
        "            \"typeinfo for ${class}\";\n"
        "            \"typeinfo name for ${class}\";\n"
        "            \"vtable for ${class}\";\n")
    endif()
  endforeach()
  file(CONFIGURE OUTPUT ${path} CONTENT
"${version} {
    global:
        extern \"C++\" {
${names}        };
    local:
        *;
};
")
endfunction()

# Ends the configuration when the rows and the headers in the folder say different things.
function(kelaccount_check_public_classes folder)
  set(rows)
  foreach(row IN LISTS KELACCOUNT_PUBLIC_CLASSES)
    kelaccount_read_public_class("${row}")
    if(NOT exported MATCHES "^(object|functions|gadget|itself|nothing)$")
      message(FATAL_ERROR "cmake/PublicClasses.cmake: ${class} exports \"${exported}\"")
    endif()
    if(NOT exported STREQUAL nothing)
      string(REGEX REPLACE "^.*::" "" name ${class})
      list(APPEND rows "${header}: ${name}")
    endif()
  endforeach()
  set(declared)
  set(names)
  file(GLOB headers CONFIGURE_DEPENDS ${folder}/*.h)
  foreach(header IN LISTS headers)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
    get_filename_component(name ${header} NAME)
    list(APPEND names ${name})
    file(STRINGS ${header} lines REGEX "^(class|struct) +KELACCOUNT_EXPORT ")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE "^(class|struct) +KELACCOUNT_EXPORT +([A-Za-z0-9_]+).*" "\\2" class "${line}")
      list(APPEND declared "${name}: ${class}")
    endforeach()
    file(STRINGS ${header} lines REGEX "^KELACCOUNT_EXPORT ")
    foreach(line IN LISTS lines)
      string(REGEX REPLACE "^KELACCOUNT_EXPORT +[^(]* ([A-Za-z0-9_]+)\\(.*" "\\1" function "${line}")
      list(APPEND declared "${name}: ${function}")
    endforeach()
  endforeach()
  kelaccount_public_headers(listed)
  foreach(pair rows:declared listed:names)
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 ours)
    list(GET pair 1 theirs)
    list(SORT ${ours})
    list(SORT ${theirs})
    list(REMOVE_DUPLICATES ${theirs})
    if(NOT "${${ours}}" STREQUAL "${${theirs}}")
      message(FATAL_ERROR "cmake/PublicClasses.cmake lists \"${${ours}}\", but under ${folder} there "
                          "are \"${${theirs}}\". Bring the rows and the headers together.")
    endif()
  endforeach()
endfunction()
