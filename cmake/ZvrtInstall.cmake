# What is installed: one call per component, at the end of this file. A component is a library with its header, CMake
# package, pkg-config file and man pages, or a program with its man pages. Where ZVRT_PACKAGES is set, which
# scripts/package.sh does in a build of its own, each becomes Debian packages; a plain install has no folder of Debian's.
# GNUInstallDirs knows Debian's folders of the machine that builds alone.
if(ZVRT_PACKAGES AND CMAKE_CROSSCOMPILING)
  set(CMAKE_INSTALL_LIBDIR "lib/${CMAKE_LIBRARY_ARCHITECTURE}" CACHE PATH "Object code libraries")
endif()
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)
include(ZvrtManPages)

if(ZVRT_PACKAGES AND NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  message(FATAL_ERROR "ZVRT_PACKAGES goes with CMAKE_INSTALL_PREFIX=/usr; scripts/package.sh sets both.")
endif()

# What cpack reads: each component adds its settings to this file.
set(ZVRT_PACKAGE_SETTINGS "${PROJECT_BINARY_DIR}/package-settings/settings.cmake")
file(WRITE "${ZVRT_PACKAGE_SETTINGS}" "set(CPACK_PACKAGE_DESCRIPTION_SUMMARY)\nset(CPACK_COMPONENTS_ALL)\n")

# zvrt_debian_package(COMPONENT NAME DESCRIPTION VARIABLE=VALUE...): one package, of the files of one component; sets
# CPACK_DEBIAN_<COMPONENT>_<VARIABLE>.
function(zvrt_debian_package component name description)
  string(TOUPPER ${component} COMPONENT)
  set(settings "list(APPEND CPACK_COMPONENTS_ALL ${component})
set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME ${name})
set(CPACK_DEBIAN_${COMPONENT}_DESCRIPTION [==[${description}]==])\n")
  foreach(setting IN LISTS ARGN)
    string(REGEX REPLACE "=(.*)" " [==[\\1]==]" setting "${setting}")
    string(APPEND settings "set(CPACK_DEBIAN_${COMPONENT}_${setting})\n")
  endforeach()
  file(APPEND "${ZVRT_PACKAGE_SETTINGS}" "${settings}")
  if(ZVRT_PACKAGES)
    install(FILES cmake/debian/copyright cmake/debian/changelog
      DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/doc/${name}" COMPONENT ${component})
  endif()
endfunction()

# The Debian packages of libraries of ours, as a list for a `Depends` field: zvrt_packages_of(RESULT SUFFIX TARGETS...)
function(zvrt_packages_of result suffix)
  set(packages)
  foreach(target IN LISTS ARGN)
    get_target_property(package ${target} ZVRT_PACKAGE)
    list(APPEND packages "${package}${suffix} (= ${PROJECT_VERSION})")
  endforeach()
  list(JOIN packages ", " packages)
  set(${result} "${packages}" PARENT_SCOPE)
endfunction()

# zvrt_install_man(COMPONENT pages...): each in the section that its name ends with.
function(zvrt_install_man component)
  foreach(page IN LISTS ARGN)
    string(REGEX REPLACE ".*\\.([1-9])$" "\\1" section "${page}")
    install(FILES "${page}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man${section}" COMPONENT ${component})
  endforeach()
endfunction()

# find_package(TARGET) gives the target under the name that it has in the build. A static library needs what it is made of found as well.
function(zvrt_install_cmake_package target component needed)
  set(folder "${CMAKE_INSTALL_LIBDIR}/cmake/${target}")
  set(find_dependencies)
  if(needed MATCHES "Threads::")
    string(APPEND find_dependencies "find_dependency(Threads)\n")
  endif()
  foreach(dependency IN LISTS ARGN)
    string(APPEND find_dependencies "find_dependency(${dependency} ${PROJECT_VERSION})\n")
  endforeach()
  install(EXPORT ${target}Targets NAMESPACE ZVRTDataCnvLib:: DESTINATION "${folder}" COMPONENT ${component})
  set(config "${PROJECT_BINARY_DIR}/${target}Config.cmake")
  set(version "${PROJECT_BINARY_DIR}/${target}ConfigVersion.cmake")
  configure_package_config_file(cmake/LibraryConfig.cmake.in "${config}" INSTALL_DESTINATION "${folder}")
  write_basic_package_version_file("${version}" COMPATIBILITY SameMajorVersion)
  install(FILES "${config}" "${version}" DESTINATION "${folder}" COMPONENT ${component})
endfunction()

# Paths relative to the file itself keep a moved prefix working. A static library tells what a program needs besides.
function(zvrt_install_pkg_config target component description needed)
  file(RELATIVE_PATH prefix_from_pc "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
  list(JOIN ARGN ", " requires)
  get_target_property(type ${target} TYPE)
  set(libs_private)
  if(type STREQUAL "STATIC_LIBRARY")
    set(libs_private "-lstdc++ -pthread")
  endif()
  configure_file(cmake/library.pc.in "${PROJECT_BINARY_DIR}/${target}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${target}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT ${component})
endfunction()

# zvrt_install_library(TARGET PACKAGE name SUMMARY line DESCRIPTION lines HEADERS files...
#                      [MAN pages...] [PRIVATE targets...] [DEPENDS targets...])
#   PACKAGE      Debian's name without the version's number or `-dev` at its end
#   PRIVATE      shared libraries that stand apart and are found by the library's run path
#   DEPENDS      libraries of ours whose headers it includes or whose private libraries it shares, installed before it
function(zvrt_install_library target)
  cmake_parse_arguments(arg "" "PACKAGE;SUMMARY;DESCRIPTION" "HEADERS;MAN;PRIVATE;DEPENDS" ${ARGN})
  set(component ${arg_PACKAGE})
  set(development ${arg_PACKAGE}_development)
  set_target_properties(${target} PROPERTIES ZVRT_PACKAGE ${arg_PACKAGE})
  get_target_property(needed ${target} ZVRT_NEEDED)

  install(TARGETS ${target} EXPORT ${target}Targets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${component} NAMELINK_COMPONENT ${development}
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${development}
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
  if(BUILD_SHARED_LIBS AND arg_PRIVATE)
    install(TARGETS ${arg_PRIVATE} EXPORT ${target}Targets
      LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/${ZVRT_PLATFORM_DIR}" COMPONENT ${component})
  endif()
  install(FILES ${arg_HEADERS} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT ${development})
  zvrt_install_man(${development} ${arg_MAN})
  zvrt_install_cmake_package(${target} ${development} "${needed}" ${arg_DEPENDS})
  zvrt_install_pkg_config(${target} ${development} "${arg_SUMMARY}" "${needed}" ${arg_DEPENDS})

  set(package ${arg_PACKAGE}${PROJECT_VERSION_MAJOR})
  zvrt_packages_of(depends "${PROJECT_VERSION_MAJOR}" ${arg_DEPENDS})
  zvrt_packages_of(depends_development -dev ${arg_DEPENDS})
  string(JOIN ", " depends_development "${package} (= ${PROJECT_VERSION})" ${depends_development})
  set(control "${PROJECT_BINARY_DIR}/package-settings/${component}")
  file(WRITE "${control}/shlibs" "lib${target} ${PROJECT_VERSION_MAJOR} ${package} (>= ${PROJECT_VERSION})\n")
  file(WRITE "${control}/triggers" "activate-noawait ldconfig\n")
  zvrt_debian_package(${component} ${package} "${arg_SUMMARY}\n${arg_DESCRIPTION}"
    PACKAGE_SECTION=libs "PACKAGE_DEPENDS=${depends}" PACKAGE_SHLIBDEPS=ON DEBUGINFO_PACKAGE=ON
    "PACKAGE_CONTROL_EXTRA=${control}/shlibs\;${control}/triggers")
  zvrt_debian_package(${development} ${arg_PACKAGE}-dev "${arg_SUMMARY} - development
What a program is built with: the header, the link to the shared library,
the CMake package, the pkg-config file and the man pages."
    PACKAGE_SECTION=libdevel "PACKAGE_DEPENDS=${depends_development}" PACKAGE_SHLIBDEPS=OFF)
endfunction()

# zvrt_install_program(TARGET PACKAGE name SUMMARY line DESCRIPTION lines [MAN pages...] [DEPENDS targets...]
#                      [RECOMMENDS packages...])
function(zvrt_install_program target)
  cmake_parse_arguments(arg "" "PACKAGE;SUMMARY;DESCRIPTION" "MAN;DEPENDS;RECOMMENDS" ${ARGN})
  string(REPLACE - _ component ${arg_PACKAGE})
  if(NOT ZVRT_PACKAGES)
    # In the build as it is installed, where the libraries stand alike: else CMake fills up the run path by empty parts.
    set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
    if(CMAKE_INSTALL_LIBDIR STREQUAL lib)
      set_target_properties(${target} PROPERTIES BUILD_WITH_INSTALL_RPATH ON)
    endif()
  endif()
  install(TARGETS ${target} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT ${component})
  zvrt_install_man(${component} ${arg_MAN})
  zvrt_packages_of(depends "${PROJECT_VERSION_MAJOR}" ${arg_DEPENDS})
  string(JOIN ", " recommends ${arg_RECOMMENDS})
  zvrt_debian_package(${component} ${arg_PACKAGE} "${arg_SUMMARY}\n${arg_DESCRIPTION}"
    PACKAGE_SECTION=database "PACKAGE_DEPENDS=${depends}" "PACKAGE_RECOMMENDS=${recommends}" PACKAGE_SHLIBDEPS=ON DEBUGINFO_PACKAGE=ON)
endfunction()

zvrt_install_library(ZVRTDataCnvLib PACKAGE libzvrtdatacnvlib
  HEADERS include/ZVRTDataCnvLib.h include/ZVRTPlatformStatus.h
  MAN docs/man/ZVRTDataCnvLib.3
  PRIVATE ZVRTOSLibUnix ZVRTEnvLib ZVRTICULib
  SUMMARY "exact, fast and safe conversion of database column values"
  DESCRIPTION "Text in six buffer kinds and any code page, integers, floating point, packed
decimal, VARNUM, dates, times and timestamps under format models.")
zvrt_function_pages(ZVRTDataCnvLib libzvrtdatacnvlib_development)
zvrt_install_library(ZVRTColumns PACKAGE libzvrtcolumns
  HEADERS include/ZVRTColumns.h
  MAN docs/man/ZVRTColumns.3
  DEPENDS ZVRTDataCnvLib
  SUMMARY "conversion of whole columns and records by plans"
  DESCRIPTION "One rule of conversion, made once and run over columns of values, exact to
the last digit, with a status for each value that is refused.")
zvrt_function_pages(ZVRTColumns libzvrtcolumns_development)
file(GLOB records_pages CONFIGURE_DEPENDS docs/man/zvrt-records.[0-9])
if(TARGET zvrt-records)
  zvrt_install_program(zvrt-records PACKAGE zvrt-records
    MAN ${records_pages}
    DEPENDS ZVRTDataCnvLib ZVRTColumns
    RECOMMENDS libodbc2
    SUMMARY "mainframe record files to tables and back"
    DESCRIPTION "Reads and writes record files that a copybook describes, and tables in CSV,
JSON lines, SQLite and databases over ODBC; what is refused is told with
its place and nothing is lost silently.")
endif()

# The Python package: where the interpreter of a prefix looks for it, in Debian's packages where every Python 3 does.
if(TARGET zvrt_python)
  get_property(python_version TARGET zvrt_python PROPERTY ZVRT_PYTHON_VERSION)
  get_property(python_modules TARGET zvrt_python PROPERTY ZVRT_PYTHON_MODULES)
  set(python_folder "lib/python${python_version}/dist-packages")
  if(ZVRT_PACKAGES)
    set(python_folder lib/python3/dist-packages)
  endif()
  install(TARGETS zvrt_python LIBRARY DESTINATION "${python_folder}/zvrt" COMPONENT python)
  install(FILES ${python_modules} DESTINATION "${python_folder}/zvrt" COMPONENT python)
  zvrt_packages_of(python_depends "${PROJECT_VERSION_MAJOR}" ZVRTDataCnvLib ZVRTColumns)
  zvrt_debian_package(python python3-zvrt "mainframe record files and database columns in Python
Record files that a copybook describes become DataFrames or Arrow data, and
tables become record files; columns in memory are converted by plans, exact
and without a copy."
    PACKAGE_SECTION=python "PACKAGE_DEPENDS=${python_depends}, python3 (>= 3.11)" PACKAGE_SHLIBDEPS=ON DEBUGINFO_PACKAGE=ON
    "PACKAGE_CONTROL_EXTRA=${PROJECT_SOURCE_DIR}/cmake/debian/python3-zvrt/postinst\;${PROJECT_SOURCE_DIR}/cmake/debian/python3-zvrt/prerm"
    "PACKAGE_RECOMMENDS=python3-numpy, python3-pandas" "PACKAGE_SUGGESTS=python3-dask, python3-distributed")
endif()

if(ZVRT_PACKAGES)
  set(CPACK_GENERATOR DEB)
  set(CPACK_PACKAGE_NAME zvrtdatacnvlib)
  set(CPACK_PACKAGE_CONTACT "ZVRTDataCnvLib developers <developers@zvrt.example>")
  set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
  set(CPACK_PROJECT_CONFIG_FILE "${ZVRT_PACKAGE_SETTINGS}")
  set(CPACK_DEB_COMPONENT_INSTALL ON)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}" "${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/${ZVRT_PLATFORM_DIR}")
  if(CMAKE_CROSSCOMPILING)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${ZVRT_DEBIAN_ARCHITECTURE})
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
      "${ZVRT_SYSROOT}/lib/${ZVRT_TRIPLET}" "${ZVRT_SYSROOT}/usr/lib/${ZVRT_TRIPLET}")
  endif()
  set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  include(CPack)
endif()
