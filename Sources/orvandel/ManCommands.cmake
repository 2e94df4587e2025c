# Writes the man page's COMMANDS section (a help2man include file) from each
# command's own --help, so that the page documents every option as the tool
# itself does. Run with -DORVANDEL=<the tool> -DOUTPUT=<file>.
set(commands scan notes prepare plan export probe preview chapters scorm h5p)
set(text "[COMMANDS]\n")
foreach(command IN LISTS commands)
  execute_process(COMMAND ${ORVANDEL} ${command} --help OUTPUT_VARIABLE help RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "orvandel ${command} --help failed (${status})")
  endif()
  # roff: a backslash is written \e, and a line that starts with a dot or a
  # quote would be taken for a request.
  string(REPLACE "\\" "\\e" help "${help}")
  string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" help "${help}")
  string(APPEND text ".SS \"orvandel ${command}\"\n.nf\n${help}.fi\n")
endforeach()
file(WRITE ${OUTPUT} "${text}")
