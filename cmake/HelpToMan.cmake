# Writes the manual page from the program's own --help and --version, so the
# two never disagree. Run in script mode at build time:
#   cmake -DPROGRAM=quorvantelix3d -DOUTPUT=quorvantelix3d.1 -P HelpToMan.cmake
# Option lines of the help ("  --seed ТЕКСТ   text") become tagged paragraphs;
# an option whose text does not fit on its line continues on the next one.

if(NOT PROGRAM OR NOT OUTPUT)
  message(FATAL_ERROR "HelpToMan: PROGRAM and OUTPUT are required")
endif()
execute_process(COMMAND ${PROGRAM} --help OUTPUT_VARIABLE help RESULT_VARIABLE rc1)
execute_process(COMMAND ${PROGRAM} --version OUTPUT_VARIABLE version RESULT_VARIABLE rc2
                OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT rc1 EQUAL 0 OR NOT rc2 EQUAL 0)
  message(FATAL_ERROR "HelpToMan: ${PROGRAM} --help or --version failed")
endif()
string(REGEX MATCH "[0-9][0-9.]*$" number "${version}")

# roff: a leading dot or quote would be a request, a backslash an escape,
# and a hyphen in an option must stay a plain minus for copy and paste.
function(roff_escape text out_var)
  string(REPLACE "\\" "\\e" text "${text}")
  string(REPLACE "-" "\\-" text "${text}")
  string(REGEX REPLACE "^([.'])" "\\\\&\\1" text "${text}")
  set(${out_var} "${text}" PARENT_SCOPE)
endfunction()

string(REPLACE ";" "\\;" help "${help}")
string(REPLACE "\n" ";" lines "${help}")
set(usage "")
set(summary "")
set(options "")
foreach(line IN LISTS lines)
  if(line MATCHES "^[^ ].*: quorvantelix3d (.*)$")
    roff_escape("${CMAKE_MATCH_1}" usage)
  elseif(line MATCHES "^Quorvan Telix 3D: (.*)$")
    set(summary "${CMAKE_MATCH_1}")
  elseif(line MATCHES "^  ([^ ]+( [^ ]+)*)  +(.*)$")
    roff_escape("${CMAKE_MATCH_1}" tag)
    roff_escape("${CMAKE_MATCH_3}" body)
    string(APPEND options ".TP\n.B ${tag}\n${body}\n")
  elseif(line MATCHES "^  ([^ ].*)$")
    roff_escape("${CMAKE_MATCH_1}" tag)
    string(APPEND options ".TP\n.B ${tag}\n")
  elseif(line MATCHES "^   +(.*)$")
    roff_escape("${CMAKE_MATCH_1}" body)
    string(APPEND options "${body}\n")
  endif()
endforeach()

set(page ".TH QUORVANTELIX3D 1 \"\" \"Quorvan Telix 3D ${number}\" \"\"\n")
string(APPEND page ".SH NAME\nquorvantelix3d \\- ${summary}\n")
string(APPEND page ".SH SYNOPSIS\n.B quorvantelix3d\n${usage}\n")
string(APPEND page ".SH OPTIONS\n${options}")
string(APPEND page ".SH FILES\n.TP\n.I ~/.config/Quorvantelix/state.json\n")
string(APPEND page "settings and recent seeds (\\fB$XDG_CONFIG_HOME/Quorvantelix\\fR when set)\n")
file(WRITE "${OUTPUT}" "${page}")
