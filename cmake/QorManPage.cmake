# Writes the qor program's manual page and bash completion from the program
# itself, so that both always list its commands and their usage as it prints
# them.
#
#   cmake -DQOR=<qor program> -DVERSION=<version> -DOUT_DIR=<dir> -P QorManPage.cmake
#
# Produces OUT_DIR/qor.1.gz (compressed as Debian wants it) and OUT_DIR/qor
# (the completion).

foreach(var QOR VERSION OUT_DIR)
  if(NOT ${var})
    message(FATAL_ERROR "QorManPage.cmake needs -D${var}=...")
  endif()
endforeach()

# The dialogs of a help request must never wait for a display.
set(ENV{QOR_UI} headless)
set(ENV{ASAN_OPTIONS} detect_leaks=0)
execute_process(COMMAND ${QOR} --help OUTPUT_VARIABLE help RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${QOR} --help failed (${rc})")
endif()

# Text as troff: backslashes doubled, a leading dot or quote kept literal.
function(troff text out)
  string(REPLACE "\\" "\\e" text "${text}")
  string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" text "${text}")
  string(REPLACE "-" "\\-" text "${text}")
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

set(page ".TH QOR 1 \"\" \"qorSupport ${VERSION}\" \"User Commands\"\n")
string(APPEND page ".SH NAME\nqor \\- the command-line program of the qorSupport library\n")
string(APPEND page ".SH SYNOPSIS\n.B qor\n.I command\n.RI [ arguments ]\n.br\n")
string(APPEND page ".B qor\n.BR \\-\\-help \" | \" \\-\\-version\n")
string(APPEND page ".SH DESCRIPTION\n")
string(APPEND page "qor reaches the library's classes from the shell: its dialogs, the registry and\n")
string(APPEND page "INI files, processes, documents and printers, database schema work, cloning and\n")
string(APPEND page "migration, and late-bound automation as JSON lines.\n")
string(APPEND page "Each command prints its own usage with \\fB\\-\\-help\\fR.\n")
string(APPEND page ".SH COMMANDS\n")

set(commands)
string(REPLACE "\n" ";" lines "${help}")
foreach(line IN LISTS lines)
  if(line MATCHES "^  ([a-z]+) +(.*)$")
    set(name "${CMAKE_MATCH_1}")
    set(summary "${CMAKE_MATCH_2}")
    list(APPEND commands ${name})
    execute_process(COMMAND ${QOR} ${name} --help OUTPUT_VARIABLE usage RESULT_VARIABLE rc)
    if(NOT rc EQUAL 0)
      message(FATAL_ERROR "${QOR} ${name} --help failed (${rc})")
    endif()
    troff("${summary}" summary)
    troff("${usage}" usage)
    string(APPEND page ".SS ${name}\n${summary}.\n.PP\n.nf\n${usage}.fi\n")
  endif()
endforeach()

string(APPEND page ".SH ENVIRONMENT\n")
string(APPEND page ".TP\n.B QOR_UI\n\\fBqt\\fR, \\fBheadless\\fR or \\fBscripted\\fR: the user interface of the dialogs.\n")
string(APPEND page ".TP\n.B QOR_REGISTRY_DIR\nthe folder of the registry store's files.\n")
string(APPEND page ".TP\n.B QOR_PRINTER_PROFILE\na Windows-style printer profile file used instead of CUPS.\n")
string(APPEND page ".SH EXIT STATUS\n0 on success, 1 when the operation failed or was cancelled, 2 for a usage error.\n")
string(APPEND page ".SH SEE ALSO\nThe API reference in /usr/share/doc/libqorsupport\\-doc/html.\n")

file(WRITE ${OUT_DIR}/qor.1 "${page}")
find_program(GZIP gzip REQUIRED)
execute_process(COMMAND ${GZIP} -n -9 -f ${OUT_DIR}/qor.1 RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "gzip failed")
endif()

list(JOIN commands " " command_words)
file(WRITE ${OUT_DIR}/qor
"# bash completion for qor, the command-line program of qorSupport.
_qor() {
  local cur=\${COMP_WORDS[COMP_CWORD]}
  if [ \"\$COMP_CWORD\" -eq 1 ]; then
    COMPREPLY=(\$(compgen -W '${command_words} --help --version' -- \"\$cur\"))
  elif [[ \$cur == -* ]]; then
    COMPREPLY=(\$(compgen -W '--help' -- \"\$cur\"))
  else
    COMPREPLY=(\$(compgen -f -- \"\$cur\"))
  fi
}
complete -o filenames -F _qor qor
")
