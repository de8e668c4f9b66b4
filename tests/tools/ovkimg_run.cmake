# Helpers of the ovkimg script tests. The test passes -DOVKIMG=<tool> and
# -DWORK_DIR=<directory>; including this file empties WORK_DIR.

file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")

# ovkimg_run(<args...>): runs the tool in WORK_DIR and fails the test unless
# it exits 0. OVKIMG_OUTPUT receives what it printed (stdout and stderr).
function(ovkimg_run)
  execute_process(COMMAND "${OVKIMG}" ${ARGN} WORKING_DIRECTORY "${WORK_DIR}"
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  string(JOIN " " command ${ARGN})
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "'ovkimg ${command}' exited with ${rc}:\n${out}${err}")
  endif()
  set(OVKIMG_OUTPUT "${out}${err}" PARENT_SCOPE)
endfunction()

# ovkimg_expect_failure(<regex> <args...>): the tool must exit non-zero and
# print, on stderr, a message matching <regex>.
function(ovkimg_expect_failure regex)
  execute_process(COMMAND "${OVKIMG}" ${ARGN} WORKING_DIRECTORY "${WORK_DIR}"
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  string(JOIN " " command ${ARGN})
  if(rc EQUAL 0)
    message(FATAL_ERROR "'ovkimg ${command}' succeeded, a failure was expected:\n${out}${err}")
  endif()
  if(NOT err MATCHES "${regex}")
    message(FATAL_ERROR "'ovkimg ${command}' failed without a message matching '${regex}':\n${err}")
  endif()
endfunction()

# ovkimg_expect_match(<regex> <text> <what>): fails the test unless <text>
# matches <regex>.
function(ovkimg_expect_match regex text what)
  if(NOT text MATCHES "${regex}")
    message(FATAL_ERROR "${what}: expected a match of '${regex}' in:\n${text}")
  endif()
endfunction()

# ovkimg_file_starts_with(<file> <text>): the first bytes of <file> are <text>.
function(ovkimg_file_starts_with file text)
  string(LENGTH "${text}" length)
  string(HEX "${text}" expected)
  file(READ "${WORK_DIR}/${file}" actual LIMIT ${length} HEX)
  if(NOT actual STREQUAL expected)
    message(FATAL_ERROR "${file} starts with hex ${actual}, expected ${expected} ('${text}')")
  endif()
endfunction()
