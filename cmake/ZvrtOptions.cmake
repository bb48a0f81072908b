# What every target of this project is compiled with: warnings, sanitizers, coverage.
# A target takes it by linking zvrt_options; nothing of it is installed.

add_library(zvrt_options INTERFACE)

target_compile_options(zvrt_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wcast-qual -Wcast-align
  -Wformat=2 -Wundef -Wdouble-promotion -Wnull-dereference
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wmissing-declarations -Wnon-virtual-dtor -Woverloaded-virtual -Wextra-semi>
  $<$<COMPILE_LANGUAGE:C>:-Wmissing-prototypes -Wstrict-prototypes>)

if(ZVRT_WARNINGS_AS_ERRORS)
  target_compile_options(zvrt_options INTERFACE -Werror)
endif()

if(ZVRT_SANITIZE)
  target_compile_options(zvrt_options INTERFACE -fsanitize=${ZVRT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(zvrt_options INTERFACE -fsanitize=${ZVRT_SANITIZE})
endif()

# The library itself: no exceptions and no run-time type information cross or enter it.
add_library(zvrt_library_options INTERFACE)
target_link_libraries(zvrt_library_options INTERFACE zvrt_options)
target_compile_options(zvrt_library_options INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
