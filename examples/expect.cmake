# Runs PROGRAM; it has to succeed, print what the file EXPECTED holds, and complain about nothing.
execute_process(COMMAND ${PROGRAM} RESULT_VARIABLE result OUTPUT_VARIABLE output
                ERROR_VARIABLE complaints)
file(READ ${EXPECTED} expected)
if(NOT result EQUAL 0 OR NOT complaints STREQUAL "" OR NOT output STREQUAL expected)
    message(FATAL_ERROR "result ${result}\n${complaints}-- expected\n${expected}-- printed\n${output}")
endif()
