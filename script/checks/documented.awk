# Every declaration of a function in a public header stands below a "///" comment; declarations without a blank line
# between them share it. Destructors, and what is
# deleted or defaulted, need none.
FNR == 1 { covered = 0; in_define = 0 }
/^[ \t]*#/ { in_define = /\\$/; next }
in_define { in_define = /\\$/; next }
/^[ \t]*\/\/\// { covered = 1; next }
/^[ \t]*$/ { covered = 0; next }
/^[ \t]*\/\// { next }
/= *(delete|default) *;/ { next }
/^ *(virtual )?~[A-Za-z]+\(\)/ { next }
/^ *(public|protected|private) *:/ { covered = 0; next }
/\) *(const)? *(noexcept)? *(override)? *(= *0)? *(;|\{.*\}) *$/ && !/^ *(return|if|for|while)\>/ {
  if (!covered) { line = $0; sub(/^ +/, "", line); print FILENAME ":" FNR ": no comment: " line }
}
