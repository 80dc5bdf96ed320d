# Runs the sample host in Python and compares what it prints with what stands beside it.

cmake_path(REPLACE_EXTENSION SAMPLE LAST_ONLY txt OUTPUT_VARIABLE expected_file)
file(READ ${expected_file} expected)
execute_process(COMMAND ${PYTHON} -I ${SAMPLE} ${LIBRARY} ${WORKER}
                OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "the sample prints\n${printed}\ninstead of\n${expected}")
endif()
