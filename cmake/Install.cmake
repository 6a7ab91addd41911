# Installs the library, its C header, the C++ headers of its public classes,
# the command-line tool and its manual page, a pkg-config file and a CMake
# package.
include(CMakePackageConfigHelpers)

set(OMBREL_INCLUDE_ROOT ${CMAKE_INSTALL_INCLUDEDIR}/ombrel)

install(TARGETS ombrel EXPORT OmbrelTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS ombrel_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES tools/ombrel/ombrel.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)

# C programs include <ombrel.h>; C++ programs include the public classes by
# their folder, <geometry/BBox.h>, from the same include directory.
install(FILES plugin/ombrel.h DESTINATION ${OMBREL_INCLUDE_ROOT})
install(FILES plugin/ombrel.h plugin/DeclaredVekFiles.h DESTINATION ${OMBREL_INCLUDE_ROOT}/plugin)
file(GLOB OMBREL_PUBLIC_GEOMETRY_HEADERS ${PROJECT_SOURCE_DIR}/geometry/*.h)
install(FILES ${OMBREL_PUBLIC_GEOMETRY_HEADERS} DESTINATION ${OMBREL_INCLUDE_ROOT}/geometry)
install(FILES
  support/OmbrelApi.h support/QMArray.h support/QMString.h support/QMDiskServer.h
  support/QMLogArgument.h support/QMLogServer.h support/QMInfoMsg.h support/NumberText.h
  support/QMBoolArray.h support/QMBitMgr.h support/QMExceptionService.h
  DESTINATION ${OMBREL_INCLUDE_ROOT}/support)
install(FILES host/KelvraHelper.h host/KBitmap.h host/KHostTypes.h host/KDocWrapper.h
  DESTINATION ${OMBREL_INCLUDE_ROOT}/host)
install(FILES export/CurrentMeshExport.h DESTINATION ${OMBREL_INCLUDE_ROOT}/export)
install(FILES engine/OmbrelExport.h DESTINATION ${OMBREL_INCLUDE_ROOT}/engine)
install(FILES check/PrintCheck.h DESTINATION ${OMBREL_INCLUDE_ROOT}/check)

install(EXPORT OmbrelTargets NAMESPACE Ombrel:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Ombrel)
configure_package_config_file(cmake/OmbrelConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/OmbrelConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Ombrel)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/OmbrelConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/OmbrelConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/OmbrelConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Ombrel)

# The pkg-config file finds its prefix from its own place, so the installed
# tree can be moved (or installed with --prefix) and still work.
file(RELATIVE_PATH OMBREL_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/ombrel.pc.in ${CMAKE_CURRENT_BINARY_DIR}/ombrel.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/ombrel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
