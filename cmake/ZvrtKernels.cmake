# zvrt_kernels(TARGET LEVEL sources...): kernels of a target, compiled for one level of processor, called only where cpu_level() allows it.
# Such a source holds nothing but kernels: everything in it that is not a kernel has internal linkage, so that no function
# compiled for this level can stand in for one that runs everywhere.
set(ZVRT_FLAGS_sse41 -msse4.1 -mpopcnt)
set(ZVRT_FLAGS_avx2 -mavx2 -mbmi -mbmi2 -mpopcnt)
set(ZVRT_FLAGS_avx512 -mbmi -mbmi2 -mlzcnt -mpopcnt -mfma -mavx512f -mavx512bw -mavx512cd -mavx512dq -mavx512vl -mavx512ifma -mavx512vbmi -mavx512vbmi2
  -mprefer-vector-width=512)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC warns of the undefined operands inside its own intrinsics.
  list(APPEND ZVRT_FLAGS_avx512 -Wno-uninitialized -Wno-maybe-uninitialized)
endif()


set(ZVRT_LEVELS portable baseline sse41 avx2 avx512)
set_property(CACHE ZVRT_HIGHEST_LEVEL PROPERTY STRINGS ${ZVRT_LEVELS})
if(NOT ZVRT_HIGHEST_LEVEL IN_LIST ZVRT_LEVELS)
  list(JOIN ZVRT_LEVELS ", " levels)
  message(FATAL_ERROR "ZVRT_HIGHEST_LEVEL is \"${ZVRT_HIGHEST_LEVEL}\"; the levels are ${levels}.")
endif()

# Levels above `portable` are those of x86-64; other processors have none of their sources.
function(zvrt_kernels target level)
  if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    return()
  endif()
  set_source_files_properties(${ARGN} TARGET_DIRECTORY ${target} PROPERTIES COMPILE_OPTIONS "${ZVRT_FLAGS_${level}}")
  target_sources(${target} PRIVATE ${ARGN})
endfunction()
