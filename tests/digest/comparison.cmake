# The program must accept the digests on record, and must name the family of which one digit is another.
#
# cmake -DPROGRAM=... -DDIGESTS=... -DSCRATCH=... -P comparison.cmake

cmake_minimum_required(VERSION 3.22)

function(run expected_status)
  execute_process(COMMAND ${PROGRAM} "${SCRATCH}" checksum lzo RESULT_VARIABLE status OUTPUT_VARIABLE output)
  if(NOT status EQUAL expected_status)
    message(FATAL_ERROR "exit status ${status} instead of ${expected_status}:\n${output}")
  endif()
  set(output "${output}" PARENT_SCOPE)
endfunction()

file(READ "${DIGESTS}" digests)
file(WRITE "${SCRATCH}" "${digests}")
run(0)

string(REGEX MATCH "\nlzo (.)" line "${digests}")
math(EXPR digit "(0x${CMAKE_MATCH_1} + 1) % 10")
string(REGEX REPLACE "\nlzo ." "\nlzo ${digit}" changed "${digests}")
file(WRITE "${SCRATCH}" "${changed}")
run(1)
if(NOT output MATCHES "on record, in: lzo\n" OR NOT output MATCHES "CHANGELOG.md")
  message(FATAL_ERROR "the message names another family, or does not say what to do:\n${output}")
endif()

file(REMOVE "${SCRATCH}")
run(1)
