# Runs PROGRAM with ARGUMENTS, a list, and compares what it prints with the file EXPECTED.
execute_process(COMMAND "${PROGRAM}" ${ARGUMENTS} OUTPUT_VARIABLE printed RESULT_VARIABLE result)
file(READ "${EXPECTED}" expected)
if(NOT result EQUAL 0 OR NOT printed STREQUAL expected)
  message(FATAL_ERROR "${PROGRAM} ended with ${result} and printed\n${printed}\ninstead of\n${expected}")
endif()
