# Doxygen's input filter for the public headers: their contract comments are
# plain // comments (the project's style), which Doxygen would pass over.
# The comment at the top of a file becomes the file's page (\file); a
# comment block above a declaration becomes that declaration's
# documentation; a comment after a member on its line documents that
# member. Line numbers are kept.
BEGIN { in_head = 1; started = 0 }
{
  line = $0
  if (in_head) {
    if (line ~ /^\/\/ ?/) {
      sub(/^\/\/ ?/, "", line)
      if (!started) { print "/// \\file"; started = 1; printf "/// %s\n", line; next }
      printf "/// %s\n", line
      next
    }
    in_head = 0
  }
  if (line ~ /^[ \t]*\/\/ /) {
    sub(/\/\/ /, "/// ", line)
  } else if (line ~ /^[ \t]*\/\/$/) {
    sub(/\/\/$/, "///", line)
  } else if (line ~ /[;,{][ \t]+\/\/ / && line !~ /^[ \t]*\/\//) {
    sub(/[ \t]+\/\/ /, "  ///< ", line)
  }
  print line
}
