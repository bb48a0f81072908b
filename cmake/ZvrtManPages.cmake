# Manual pages of single functions, made from a header when its library is built. Without Python 3 there are none; the
# overviews of docs/man are installed either way.
find_package(Python3 COMPONENTS Interpreter QUIET)
if(NOT Python3_Interpreter_FOUND)
  message(STATUS "Python 3 is missing: no manual pages of single functions")
endif()
if(NOT TARGET zvrt_man_pages)
  add_custom_target(zvrt_man_pages ALL)
endif()

# zvrt_function_pages(HEADER COMPONENT): include/HEADER.h declares them, COMPONENT installs them.
function(zvrt_function_pages header component)
  if(NOT Python3_Interpreter_FOUND)
    return()
  endif()
  set(source "${PROJECT_SOURCE_DIR}/include/${header}.h")
  set(pages "${PROJECT_BINARY_DIR}/man3/${header}")
  set(generator "${PROJECT_SOURCE_DIR}/docs/generator")
  add_custom_command(OUTPUT "${pages}/made"
    COMMAND "${CMAKE_COMMAND}" -E rm -rf "${pages}"
    COMMAND Python3::Interpreter -B "${generator}/man_pages.py" "${source}" "${pages}" "${PROJECT_VERSION}"
    COMMAND "${CMAKE_COMMAND}" -E touch "${pages}/made"
    DEPENDS "${source}" "${generator}/man_pages.py" "${generator}/header.py" "${generator}/phrases.py" "${generator}/statuses.csv"
    COMMENT "Manual pages of ${header}"
    VERBATIM)
  add_custom_target(zvrt_man_pages_${header} DEPENDS "${pages}/made")
  add_dependencies(zvrt_man_pages zvrt_man_pages_${header})
  install(DIRECTORY "${pages}/" DESTINATION "${CMAKE_INSTALL_MANDIR}/man3" COMPONENT ${component} FILES_MATCHING PATTERN "*.3.gz")
endfunction()
