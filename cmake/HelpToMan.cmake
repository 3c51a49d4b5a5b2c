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
string(APPEND page [=[
.SH EXIT STATUS
.TP
0
success
.TP
1
a file could not be opened, read or written, held no XSE data, or was not
read; a check answered no; a live server could not be reached or sent no data
.TP
2
wrong usage; xse settings without a display
.TP
130
stopped by Ctrl-C (143 by SIGTERM)
.SH ENVIRONMENT
.TP
XSE_READER_MODULE
the reader plug-in that xse run, xse check and xse run --connect
load, instead of the one beside the tool
.TP
DISPLAY, WAYLAND_DISPLAY
the display xse settings shows its page on
.TP
QT_QPA_PLATFORM
offscreen or minimal: xse settings draws without a display
.SH EXAMPLES
.nf
xse gen --duration 60 survey.xse
xse info survey.xse
xse dump --kind position --format csv survey.xse > positions.csv
xse soundings --format xyz survey.xse > survey.xyz
xse plot --kind swath survey.xse -o swath.png
xse serve survey.xse & xse run --events --connect 127.0.0.1:PORT
.fi
]=])
file(WRITE "${OUT}" "${page}")
message(STATUS "Installing: ${OUT}")
