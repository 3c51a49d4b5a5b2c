# cmake -DXSE=path/to/xse -DVERSION=x.y.z -DOUT=xse.1 -P HelpToMan.cmake
# Writes the tool's own --help texts, the overview and each command's, as one
# manual page, so the page never says other than the tool.
execute_process(COMMAND "${XSE}" --help OUTPUT_VARIABLE overview COMMAND_ERROR_IS_FATAL ANY)

function(roff_block text out)
  string(REPLACE "\\" "\\e" text "${text}")
  string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" text "${text}")
  set(${out} ".nf\n${text}.fi\n" PARENT_SCOPE)
endfunction()

roff_block("${overview}" block)
set(page ".TH XSE 1 \"\" \"XSEReader ${VERSION}\" \"User Commands\"\n")
string(APPEND page ".SH NAME\nxse \\- generate, summarise, dump and play XSE survey data\n")
string(APPEND page ".SH SYNOPSIS\n${block}")

# The commands are the lines of the overview's "commands:" list.
string(REGEX MATCH "commands:\n(([ ]+[a-z]+[^\n]*\n)+)" list "${overview}")
string(REGEX MATCHALL "\n  [a-z]+" names "\n${CMAKE_MATCH_1}")
foreach(name IN LISTS names)
  string(STRIP "${name}" name)
  execute_process(COMMAND "${XSE}" ${name} --help OUTPUT_VARIABLE help COMMAND_ERROR_IS_FATAL ANY)
  roff_block("${help}" block)
  string(TOUPPER "${name}" title)
  string(APPEND page ".SH XSE ${title}\n${block}")
endforeach()
file(WRITE "${OUT}" "${page}")
message(STATUS "Installing: ${OUT}")
