# Runs an example of docs/EMBEDDING.md and compares what it prints with what stands beside it.
#
#   cmake -DPROGRAM=... -DEXPECTED=... -DWORKER=... -DDIRECTORY=... -P run_example.cmake
#
# An example gets three programs: the worker, one that never answers, and one that ends at once.

file(MAKE_DIRECTORY ${DIRECTORY})
file(WRITE ${DIRECTORY}/stalled "#!/bin/sh\nexec sleep 30\n")
file(WRITE ${DIRECTORY}/ended "#!/bin/sh\nhead -c 64 >/dev/null\nexit 5\n")
file(CHMOD ${DIRECTORY}/stalled ${DIRECTORY}/ended PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
file(READ ${EXPECTED} expected)
execute_process(COMMAND ${PROGRAM} ${WORKER} ${DIRECTORY}/stalled ${DIRECTORY}/ended
                OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "the example prints\n${printed}\ninstead of\n${expected}")
endif()
