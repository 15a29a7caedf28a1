# What is installed, and the packages made of it.
include(CMakePackageConfigHelpers)

install(TARGETS qsl qsl_fortran EXPORT qsl-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qsl DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT qsl-targets NAMESPACE qsl:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qsl)

file(CONFIGURE OUTPUT qsl-config.cmake CONTENT
    "include(\${CMAKE_CURRENT_LIST_DIR}/qsl-targets.cmake)\n" @ONLY)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qsl-config-version.cmake
    VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/qsl-config.cmake ${PROJECT_BINARY_DIR}/qsl-config-version.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/qsl)

# The prefix is found from where the file lies, so that an installed tree may be moved.
file(RELATIVE_PATH to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" to_prefix "${to_prefix}")
file(CONFIGURE OUTPUT qsl.pc CONTENT [[
prefix=${pcfiledir}/@to_prefix@
libdir=${prefix}/@CMAKE_INSTALL_LIBDIR@
includedir=${prefix}/@CMAKE_INSTALL_INCLUDEDIR@
fortran=${includedir}/qsl/qsl.f90

Name: qsl
Description: @PROJECT_DESCRIPTION@
Version: @PROJECT_VERSION@
Libs: -L${libdir} -lqsl
Cflags: -I${includedir}
]] @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qsl.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(FILES ${PROJECT_SOURCE_DIR}/docs/qsl.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7)

# README.md with what it links to, but for the documents of the source tree: of those the names remain.
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${PROJECT_SOURCE_DIR}/docs/environment.md DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/README.md)
file(READ ${PROJECT_SOURCE_DIR}/README.md readme)
string(REGEX REPLACE "\\[([^]]*)\\]\\(([A-Z]+|docs/adding|docs/performance)\\.md\\)" "\\1" readme "${readme}")
string(REGEX REPLACE "\\[(`[^]]*`)\\]\\(include/qsl/[a-z]+\\.(h|f90)\\)" "\\1" readme "${readme}")
file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/README.md CONTENT "${readme}")
install(FILES ${PROJECT_BINARY_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
if(WIN32)
  install(FILES ${PROJECT_BINARY_DIR}/qsl.def DESTINATION ${CMAKE_INSTALL_LIBDIR})
endif()

set(CPACK_PACKAGE_NAME qsl)
set(CPACK_PACKAGE_CONTACT "The QSL developers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_SOURCE_DIR}/dist)
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
else()
  set(CPACK_GENERATOR "DEB;ZIP")
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE i386)
  set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6 (>= 2.34)")
  set(CPACK_DEBIAN_PACKAGE_SECTION libs)
endif()
include(CPack)
