# SPDX-License-Identifier: LGPL-2.1-or-later
# Builds with the tests, of files that are compiled together, read the headers of Qt and of the standard library once.
# With the compiler that throws away what it has precompiled when anything is not as it was: no other flag, nothing
# defined that one of these headers asks for. So it is the same for all, and only what most files include is in it.
#
# Nothing of our own is: after a change there, that is compiled which includes it. Nothing of Qt Test is, either, which
# looks for what the test is linked with.

if(CMAKE_UNITY_BUILD AND KELACCOUNT_BUILD_TESTS AND PROJECT_IS_TOP_LEVEL AND NOT KELACCOUNT_COVERAGE
    AND NOT KELACCOUNT_SANITIZE
    AND CMAKE_CXX_COMPILER_ID STREQUAL GNU AND KELACCOUNT_QT_MAJOR EQUAL 5)
  set(KELACCOUNT_PRECOMPILED ON)
else()
  set(KELACCOUNT_PRECOMPILED OFF)
endif()

# kelaccount_precompiled_headers(): the target that has them.
function(kelaccount_precompiled_headers)
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/precompiled.cpp CONTENT "")
  add_library(kelaccount_headers OBJECT ${PROJECT_BINARY_DIR}/precompiled.cpp)
  set_target_properties(kelaccount_headers PROPERTIES AUTOMOC OFF)
  target_link_libraries(kelaccount_headers PRIVATE Qt5::Core kelaccount_options)
  # Their folders, without what their libraries define.
  foreach(module DBus Network Xml)
    target_include_directories(kelaccount_headers SYSTEM PRIVATE
      $<TARGET_PROPERTY:Qt5::${module},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
  target_precompile_headers(kelaccount_headers PRIVATE
    <algorithm> <array> <atomic> <chrono> <functional> <memory> <mutex> <optional> <string> <string_view> <utility>
    <vector>
    <QtCore/QCoreApplication> <QtCore/QDataStream> <QtCore/QDateTime> <QtCore/QDir> <QtCore/QElapsedTimer>
    <QtCore/QEventLoop> <QtCore/QFile> <QtCore/QHash> <QtCore/QJsonArray> <QtCore/QJsonDocument> <QtCore/QJsonObject>
    <QtCore/QLocale> <QtCore/QLoggingCategory> <QtCore/QMap> <QtCore/QMetaMethod> <QtCore/QObject> <QtCore/QPointer>
    <QtCore/QProcess> <QtCore/QRegularExpression> <QtCore/QSet> <QtCore/QString> <QtCore/QStringList>
    <QtCore/QTemporaryDir> <QtCore/QThread> <QtCore/QTimer> <QtCore/QUrl> <QtCore/QVariant> <QtCore/QVector>
    <QtDBus/QDBusConnection> <QtDBus/QDBusMessage> <QtDBus/QDBusPendingCallWatcher> <QtDBus/QDBusReply>
    <QtNetwork/QHostAddress> <QtNetwork/QNetworkAccessManager> <QtNetwork/QNetworkProxy> <QtNetwork/QNetworkReply>
    <QtNetwork/QSslConfiguration> <QtNetwork/QTcpSocket>
    <QtXml/QDomDocument>)
  # What <pthread.h> means defines a macro for those that link it, and has to for all.
  target_compile_options(kelaccount_options INTERFACE -pthread)
endfunction()

# kelaccount_precompile_folder(FOLDER): for the targets of the folder and of those below.
function(kelaccount_precompile_folder folder)
  # Headers are tried by themselves there.
  if(folder STREQUAL "${PROJECT_SOURCE_DIR}/tests/package")
    return()
  endif()
  get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
  foreach(target IN LISTS targets)
    kelaccount_precompile(${target})
  endforeach()
  get_property(below DIRECTORY ${folder} PROPERTY SUBDIRECTORIES)
  foreach(one IN LISTS below)
    kelaccount_precompile_folder(${one})
  endforeach()
endfunction()

function(kelaccount_precompile target)
  get_target_property(type ${target} TYPE)
  get_target_property(libraries ${target} LINK_LIBRARIES)
  get_target_property(visibility ${target} CXX_VISIBILITY_PRESET)
  get_target_property(standard ${target} CXX_STANDARD)
  get_target_property(options ${target} COMPILE_OPTIONS)
  get_target_property(features ${target} COMPILE_FEATURES)
  # The plugin and who tests it have the keywords of Qt. Programs without Qt are compiled for a program alone, the others
  # for a library, too.
  set(without_qt kelaccount-emulator kelaccount-matrix-server kelaccount-tag-server kelaccount_commandline
    kelaccount_matrix_faults kelaccount_sim)
  if(target IN_LIST without_qt OR target STREQUAL kelaccount_headers OR NOT type MATCHES "EXECUTABLE|_LIBRARY"
      OR type STREQUAL INTERFACE_LIBRARY OR NOT kelaccount_options IN_LIST libraries OR visibility STREQUAL default
      OR standard OR options MATCHES "-[OU]" OR features MATCHES "cxx_std_20" OR kelaccount_zorauth IN_LIST libraries)
    return()
  endif()
  target_precompile_headers(${target} REUSE_FROM kelaccount_headers)
  # One that has flags of its own reads them itself.
  set_target_properties(${target} PROPERTIES PCH_WARN_INVALID OFF)
endfunction()
