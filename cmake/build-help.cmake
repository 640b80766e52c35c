# Compiles the help project PROJECT with chmcmd in the current directory.
# chmcmd ends with 0 even when a page links to a file that is not there, so
# its warnings are treated as errors here: a broken link fails the build.
execute_process(COMMAND ${CHMCMD} ${PROJECT}
                OUTPUT_VARIABLE out ERROR_VARIABLE out RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR out MATCHES "Warning|Error")
  message(FATAL_ERROR "chmcmd ${PROJECT} failed:\n${out}")
endif()
