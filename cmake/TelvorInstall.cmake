# Install rules: headers, libraries, the CMake package `Telvor` and pkg-config files.
#
#   <prefix>/include/telvor/...                core headers (no tests, no detail/ folders)
#   <prefix>/include/telvor/telvor_export.hpp  generated export headers, beside their
#   <prefix>/include/telvor/json/...           target's headers
#   <prefix>/include/telvor/plist/...
#   <prefix>/include/telvor/catalogue/...
#   <prefix>/<libdir>/libtelvor*.so|.a
#   <prefix>/include/telvor/dcmtk/...          (when the DCMTK companion is built)
#   <prefix>/include/telvor/web/...            (when the web companion is built)
#   <prefix>/include/telvor/qt/...             (when the Qt module is built)
#   <prefix>/<libdir>/cmake/Telvor/            find_package(Telvor [COMPONENTS json plist catalogue web dcmtk qt])
#   <prefix>/<libdir>/pkgconfig/telvor*.pc     telvor, telvor-json, telvor-plist, telvor-catalogue, telvor-qt
#
# Each format is an optional component with an export set of its own, so a package
# built without one still works, and a consumer that does not ask for a component does
# not need its dependency.
include(CMakePackageConfigHelpers)

set(TELVOR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Telvor)
set(TELVOR_PKGCONFIG_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
set(_telvor_generated ${PROJECT_BINARY_DIR}/generated/telvor)

# telvor_install_target(<target> <export-set>)
function(telvor_install_target target export_set)
  install(TARGETS ${target} EXPORT ${export_set}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Telvor_Runtime NAMELINK_COMPONENT Telvor_Development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Telvor_Development
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Telvor_Runtime)
  install(EXPORT ${export_set} NAMESPACE Telvor:: DESTINATION ${TELVOR_CMAKE_DIR} FILE ${export_set}.cmake
    COMPONENT Telvor_Development)
endfunction()

# telvor_install_pkgconfig(<name>): <name>.pc from cmake/install/<name>.pc.in.
function(telvor_install_pkgconfig name)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/install/${name}.pc.in ${PROJECT_BINARY_DIR}/pkgconfig/${name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${name}.pc DESTINATION ${TELVOR_PKGCONFIG_DIR}
    COMPONENT Telvor_Development)
endfunction()

# The .pc files find the prefix from their own place, so an installed tree can move.
if(IS_ABSOLUTE "${TELVOR_PKGCONFIG_DIR}")
  set(TELVOR_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH _telvor_up "/prefix/${TELVOR_PKGCONFIG_DIR}" "/prefix")
  string(REGEX REPLACE "/$" "" _telvor_up "${_telvor_up}")
  set(TELVOR_PC_PREFIX "\${pcfiledir}/${_telvor_up}")
endif()
# Static libraries pass on their private dependencies and need their static defines.
if(BUILD_SHARED_LIBS)
  set(TELVOR_SHARED ON)
  set(TELVOR_PC_CORE_PRIVATE "")
  set(TELVOR_PC_PLIST_PRIVATE "")
else()
  set(TELVOR_SHARED OFF)
  set(TELVOR_PC_CORE_PRIVATE "Requires.private: libutf8proc")
  set(TELVOR_PC_PLIST_PRIVATE "Requires.private: expat")
  set(TELVOR_PC_CORE_CFLAGS "-DTELVOR_STATIC_DEFINE")
  set(TELVOR_PC_JSON_CFLAGS "-DTELVOR_JSON_STATIC_DEFINE")
  set(TELVOR_PC_PLIST_CFLAGS "-DTELVOR_PLIST_STATIC_DEFINE")
  set(TELVOR_PC_CATALOGUE_CFLAGS "-DTELVOR_CATALOGUE_STATIC_DEFINE")
  set(TELVOR_PC_QT_CFLAGS "-DTELVOR_QT_STATIC_DEFINE")
  set(TELVOR_PC_QT_PRIVATE "Requires.private: Qt6Svg")
endif()

# Core.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/telvor/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/telvor
  COMPONENT Telvor_Development
  FILES_MATCHING PATTERN "*.hpp"
  PATTERN "*_test*" EXCLUDE
  PATTERN "detail" EXCLUDE)
install(FILES ${_telvor_generated}/telvor_export.hpp DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/telvor
  COMPONENT Telvor_Development)
telvor_install_target(telvor TelvorTargets)
telvor_install_pkgconfig(telvor)

# Formats and the DCMTK companion: headers from <folder>/telvor/<name>/.
set(TELVOR_INSTALLED_COMPONENTS)
set(_telvor_folder_json formats/json)
set(_telvor_folder_plist formats/plist)
set(_telvor_folder_catalogue catalogue)
set(_telvor_folder_dcmtk companions/dcmtk)
set(_telvor_folder_qt companions/qt)
set(_telvor_folder_web companions/web)
foreach(_telvor_format IN ITEMS json plist catalogue web dcmtk qt)
  if(TARGET telvor_${_telvor_format})
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/${_telvor_folder_${_telvor_format}}/telvor/${_telvor_format}/
      DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/telvor/${_telvor_format}
      COMPONENT Telvor_Development
      FILES_MATCHING PATTERN "*.hpp"
      PATTERN "*_test*" EXCLUDE
      PATTERN "detail" EXCLUDE)
    install(FILES ${_telvor_generated}/${_telvor_format}/telvor_${_telvor_format}_export.hpp
      DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/telvor/${_telvor_format}
      COMPONENT Telvor_Development)
    string(SUBSTRING ${_telvor_format} 0 1 _first)
    string(SUBSTRING ${_telvor_format} 1 -1 _rest)
    string(TOUPPER ${_first} _first)
    telvor_install_target(telvor_${_telvor_format} Telvor${_first}${_rest}Targets)
    if(EXISTS ${PROJECT_SOURCE_DIR}/cmake/install/telvor-${_telvor_format}.pc.in)
      telvor_install_pkgconfig(telvor-${_telvor_format})
    endif()
    list(APPEND TELVOR_INSTALLED_COMPONENTS ${_telvor_format})
  endif()
endforeach()

# Other systems' peer lists, and the DCMTK configuration-file readers built on them (their
# headers sit beside the companion's, under telvor/dcmtk/), and CTK's server nodes over QtCore
# (under telvor/qt/).
foreach(_telvor_peers IN ITEMS peers dcmtk_peers qt_peers ldap_peers)
  if(TARGET telvor_${_telvor_peers})
    if(_telvor_peers STREQUAL "peers")
      set(_folder formats/peers/telvor/peers)
      set(_dir peers)
      set(_set TelvorPeersTargets)
    elseif(_telvor_peers STREQUAL "qt_peers")
      set(_folder companions/qt/peers/telvor/qt)
      set(_dir qt)
      set(_set TelvorQtPeersTargets)
    elseif(_telvor_peers STREQUAL "ldap_peers")
      set(_folder formats/ldap/telvor/ldap)
      set(_dir ldap)
      set(_set TelvorLdapPeersTargets)
    else()
      set(_folder companions/dcmtk/peers/telvor/dcmtk)
      set(_dir dcmtk)
      set(_set TelvorDcmtkPeersTargets)
    endif()
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/${_folder}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/telvor/${_dir}
      COMPONENT Telvor_Development FILES_MATCHING PATTERN "*.hpp" PATTERN "*_test*" EXCLUDE)
    install(FILES ${_telvor_generated}/${_dir}/telvor_${_telvor_peers}_export.hpp
      DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/telvor/${_dir} COMPONENT Telvor_Development)
    telvor_install_target(telvor_${_telvor_peers} ${_set})
    list(APPEND TELVOR_INSTALLED_COMPONENTS ${_telvor_peers})
  endif()
endforeach()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/install/TelvorConfig.cmake.in
  ${PROJECT_BINARY_DIR}/TelvorConfig.cmake
  INSTALL_DESTINATION ${TELVOR_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/TelvorConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/TelvorConfig.cmake ${PROJECT_BINARY_DIR}/TelvorConfigVersion.cmake
  DESTINATION ${TELVOR_CMAKE_DIR} COMPONENT Telvor_Development)
