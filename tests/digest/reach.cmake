# Every export of the encoders' side must be called by the digest: all names but those of the opposite direction and of
# releases.
#
# cmake -DNM=... -DOBJECTS=... -DEXPORT_MAP=... -P reach.cmake

cmake_minimum_required(VERSION 3.22)

execute_process(COMMAND "${NM}" --undefined-only ${OBJECTS} OUTPUT_VARIABLE symbols RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${NM} fails")
endif()
string(REGEX MATCHALL "zels[A-Za-z0-9_]+" called "${symbols}")

file(STRINGS "${EXPORT_MAP}" lines REGEX "^ *zels.*;")
set(encoders 0)
foreach(line ${lines})
  string(REGEX MATCH "zels[A-Za-z0-9_]+" name "${line}")
  if(name MATCHES "Decode|Inv|Unpack|Inflate|Expand|Free_")
    continue()
  endif()
  math(EXPR encoders "${encoders} + 1")
  if(NOT name IN_LIST called)
    message(SEND_ERROR "${name} is not called by the digest")
  endif()
endforeach()
if(encoders LESS 60)
  message(FATAL_ERROR "only ${encoders} names of encoders in ${EXPORT_MAP}")
endif()
