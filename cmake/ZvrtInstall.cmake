# What is installed: the header, the versioned shared objects, a CMake package, a pkg-config file, the man pages; and the
# two Debian packages made of it.
include(CMakePackageConfigHelpers)

# Our platform libraries stand apart from the public ones, found through the library's own run path. LD_LIBRARY_PATH
# comes before a run path, so the runtime's own libraries can take their place.
set(ZVRT_PLATFORM_DIR zvrt)
set_target_properties(ZVRTDataCnvLib PROPERTIES INSTALL_RPATH "$ORIGIN/${ZVRT_PLATFORM_DIR}")
set_target_properties(ZVRTOSLibUnix ZVRTEnvLib ZVRTICULib PROPERTIES INSTALL_RPATH "$ORIGIN")

install(TARGETS ZVRTDataCnvLib EXPORT ZVRTDataCnvLibTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
install(TARGETS ZVRTOSLibUnix ZVRTEnvLib ZVRTICULib EXPORT ZVRTDataCnvLibTargets
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/${ZVRT_PLATFORM_DIR}" COMPONENT runtime)
install(FILES include/ZVRTDataCnvLib.h DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/ZVRTDataCnvLib")
install(EXPORT ZVRTDataCnvLibTargets NAMESPACE ZVRTDataCnvLib:: DESTINATION "${package_dir}" COMPONENT development)
configure_package_config_file(cmake/ZVRTDataCnvLibConfig.cmake.in "${PROJECT_BINARY_DIR}/ZVRTDataCnvLibConfig.cmake"
  INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/ZVRTDataCnvLibConfigVersion.cmake" COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/ZVRTDataCnvLibConfig.cmake" "${PROJECT_BINARY_DIR}/ZVRTDataCnvLibConfigVersion.cmake"
  DESTINATION "${package_dir}" COMPONENT development)

# Paths relative to the file itself keep a moved prefix working.
file(RELATIVE_PATH prefix_from_pc "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/ZVRTDataCnvLib.pc.in "${PROJECT_BINARY_DIR}/ZVRTDataCnvLib.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/ZVRTDataCnvLib.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT development)

# Compressed without gzip's own time stamp and name, so that two builds are the same.
function(zvrt_gzip source name)
  execute_process(COMMAND gzip -9n -c "${PROJECT_SOURCE_DIR}/${source}" OUTPUT_FILE "${PROJECT_BINARY_DIR}/${name}"
    COMMAND_ERROR_IS_FATAL ANY)
endfunction()
zvrt_gzip(docs/man/ZVRTDataCnvLib.3 ZVRTDataCnvLib.3.gz)
zvrt_gzip(cmake/debian/changelog changelog.gz)
install(FILES "${PROJECT_BINARY_DIR}/ZVRTDataCnvLib.3.gz" DESTINATION "${CMAKE_INSTALL_MANDIR}/man3" COMPONENT development)
include(ZvrtManPages)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zvrtdatacnvlib)
set(CPACK_PACKAGE_CONTACT "ZVRTDataCnvLib developers <developers@zvrt.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime development)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS runtime)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/lib")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  "${PROJECT_SOURCE_DIR}/cmake/debian/shlibs" "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libzvrtdatacnvlib${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzvrtdatacnvlib-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Text in six buffer kinds and any code page, integers, floating point, packed
decimal, VARNUM, dates, times and timestamps; exact, fast, safe on any input.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "For development: the header, the link to the shared library, the CMake
package and the pkg-config file of libZVRTDataCnvLib.")
foreach(component runtime development)
  string(TOUPPER ${component} COMPONENT)
  set(documents "${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME}")
  install(FILES cmake/debian/copyright DESTINATION "${documents}" COMPONENT ${component})
  install(FILES "${PROJECT_BINARY_DIR}/changelog.gz" DESTINATION "${documents}" COMPONENT ${component})
endforeach()
include(CPack)
