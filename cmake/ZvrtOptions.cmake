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

if(ZVRT_BUILD_FUZZERS)
  target_compile_options(zvrt_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

# The library itself: no exceptions and no run-time type information cross or enter it.
add_library(zvrt_library_options INTERFACE)
target_compile_definitions(zvrt_library_options INTERFACE ZVRT_HIGHEST_LEVEL=${ZVRT_HIGHEST_LEVEL})
if(ZVRT_HIGHEST_LEVEL STREQUAL "portable")
  target_compile_definitions(zvrt_library_options INTERFACE ZVRT_PORTABLE_VECTORS)
endif()
target_link_libraries(zvrt_library_options INTERFACE zvrt_options)
target_compile_options(zvrt_library_options INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
# Calls into other libraries go straight through their addresses, which are bound when the library is loaded.
target_compile_options(zvrt_library_options INTERFACE -fno-plt)

# Checks that the library alone keeps to; the tests' references count modulo 2^64 as they please.
if(ZVRT_SANITIZE_LIBRARY)
  target_compile_options(zvrt_library_options INTERFACE
    -fsanitize=${ZVRT_SANITIZE_LIBRARY} "-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/integer-ignored.txt")
endif()

# Hardening, for builds that are optimised and not under a sanitizer: the library sits in other people's processes.
if(NOT ZVRT_SANITIZE)
  target_compile_options(zvrt_options INTERFACE -fstack-protector-strong -fstack-clash-protection
    $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
  # The C runtime's start files are not marked for shadow stacks but keep to them; for indirect branches they do not.
  target_link_options(zvrt_options INTERFACE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    target_compile_options(zvrt_options INTERFACE -fcf-protection)
    target_link_options(zvrt_options INTERFACE LINKER:-z,shstk)
  endif()
endif()

# The same bytes from whatever folder it is built in.
target_compile_options(zvrt_options INTERFACE "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=." "-ffile-prefix-map=${PROJECT_BINARY_DIR}=build")
