# A manual page for each function, made from the header when the library is built. Without Python 3 there are none; the
# overview of docs/man is installed either way.
find_package(Python3 COMPONENTS Interpreter QUIET)
if(NOT Python3_Interpreter_FOUND)
  message(STATUS "Python 3 is missing: no manual pages of single functions")
  return()
endif()

set(pages "${PROJECT_BINARY_DIR}/man3")
set(generator "${PROJECT_SOURCE_DIR}/docs/generator")
add_custom_command(OUTPUT "${pages}/made"
  COMMAND Python3::Interpreter -B "${generator}/man_pages.py" "${PROJECT_SOURCE_DIR}/include/ZVRTDataCnvLib.h" "${pages}"
          "${PROJECT_VERSION}"
  COMMAND "${CMAKE_COMMAND}" -E touch "${pages}/made"
  DEPENDS "${PROJECT_SOURCE_DIR}/include/ZVRTDataCnvLib.h" "${generator}/man_pages.py" "${generator}/header.py"
          "${generator}/phrases.py" "${generator}/statuses.csv"
  COMMENT "Manual pages"
  VERBATIM)
add_custom_target(zvrt_man_pages ALL DEPENDS "${pages}/made")
install(DIRECTORY "${pages}/" DESTINATION "${CMAKE_INSTALL_MANDIR}/man3" COMPONENT libzvrtdatacnvlib_development FILES_MATCHING PATTERN "*.3.gz")
