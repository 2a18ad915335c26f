# What `cmake --install` puts into the prefix: the shared libraries with
# their SONAME links, the qor program, the public headers (include/), a CMake
# package (find_package(qorSupport CONFIG) giving qorSupport::qorsupport and
# qorSupport::qt) and a pkg-config file for each library.

include(CMakePackageConfigHelpers)

set(QOR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/qorSupport)

install(TARGETS qorsupport EXPORT qorSupportTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET qorsupport_qt)
  install(TARGETS qorsupport_qt EXPORT qorSupportTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
  set(QOR_HAVE_QT_COMPONENT TRUE)
else()
  set(QOR_HAVE_QT_COMPONENT FALSE)
endif()
install(TARGETS qor RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)

install(EXPORT qorSupportTargets NAMESPACE qorSupport:: DESTINATION ${QOR_CMAKE_DIR}
        COMPONENT dev)
configure_package_config_file(cmake/templates/qorSupportConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qorSupportConfig.cmake
  INSTALL_DESTINATION ${QOR_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qorSupportConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qorSupportConfig.cmake
              ${PROJECT_BINARY_DIR}/qorSupportConfigVersion.cmake
        DESTINATION ${QOR_CMAKE_DIR} COMPONENT dev)

# pkg-config: qorsupport, and qorsupport-qt for the Qt backend; relocatable,
# their prefix found from their own folder.
file(RELATIVE_PATH QOR_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
foreach(pc qorsupport qorsupport-qt)
  if(pc STREQUAL "qorsupport-qt" AND NOT TARGET qorsupport_qt)
    continue()
  endif()
  configure_file(cmake/templates/${pc}.pc.in ${PROJECT_BINARY_DIR}/${pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc}.pc
          DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endforeach()
