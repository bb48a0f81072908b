# What the toolchain files of other machines share; they set ZVRT_TRIPLET, ZVRT_DEBIAN_ARCHITECTURE and
# ZVRT_QEMU before they include it.
#
# The target's libraries are found in a folder that scripts/other-machines.sh fills from Debian's packages; the C and C++
# libraries are those of Debian's cross compiler, also for clang. Programs for the target run by qemu's emulation.
set(CMAKE_SYSTEM_NAME Linux)
set(ZVRT_CROSS_COMPILER gcc CACHE STRING "gcc or clang")
set(ZVRT_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../build/sysroots/${CMAKE_SYSTEM_PROCESSOR}" CACHE PATH "Packages of the target, unpacked")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZVRT_CROSS_COMPILER ZVRT_SYSROOT)

if(ZVRT_CROSS_COMPILER STREQUAL "clang")
  set(CMAKE_C_COMPILER clang)
  set(CMAKE_CXX_COMPILER clang++)
  set(CMAKE_ASM_COMPILER clang)
  foreach(language C CXX ASM)
    set(CMAKE_${language}_COMPILER_TARGET ${ZVRT_TRIPLET})
  endforeach()
else()
  set(CMAKE_C_COMPILER ${ZVRT_TRIPLET}-gcc)
  set(CMAKE_CXX_COMPILER ${ZVRT_TRIPLET}-g++)
endif()

get_filename_component(ZVRT_SYSROOT "${ZVRT_SYSROOT}" ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH "${ZVRT_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_LIBRARY_ARCHITECTURE ${ZVRT_TRIPLET})
set(libraries "${ZVRT_SYSROOT}/usr/lib/${ZVRT_TRIPLET}")
# What stands in a folder of the architecture is included by headers that do not.
foreach(language C CXX)
  set(CMAKE_${language}_FLAGS_INIT "-isystem ${ZVRT_SYSROOT}/usr/include/${ZVRT_TRIPLET}")
endforeach()
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,-rpath-link,${libraries}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,-rpath-link,${libraries}")
set(CMAKE_CROSSCOMPILING_EMULATOR ${ZVRT_QEMU} -L /usr/${ZVRT_TRIPLET} -E "LD_LIBRARY_PATH=${libraries}")
