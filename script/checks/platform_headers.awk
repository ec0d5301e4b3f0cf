# Finds the function declarations of C headers, which stand on lines of their own, and looks at the comment above each:
# every parameter has its @param, every result its @return. Writes "name file:line" to the file `declared`.
function breach(what) { print FILENAME ":" first_line ": " what }

function examine(text,    name, inside, count, parts, i, parameter) {
  if (text ~ /^(typedef|struct|enum|extern|#)/ || text !~ /\(/) return
  match(text, /[A-Za-z_0-9]+\(/)
  name = substr(text, RSTART, RLENGTH - 1)
  inside = substr(text, RSTART + RLENGTH)
  sub(/\);.*$/, "", inside)
  print name " " FILENAME ":" first_line >declared
  if (comment == "") { breach(name " has no comment"); return }
  if (text !~ /^void [A-Za-z]/ && comment !~ /@return/) breach(name " does not say what it returns")
  count = split(inside, parts, ",")
  for (i = 1; i <= count; ++i) {
    parameter = parts[i]
    gsub(/^ +| +$/, "", parameter)
    if (parameter == "void" || parameter == "") continue
    sub(/^.*[ *]/, "", parameter)
    if (index(comment, "@param " parameter " ") == 0) breach(name " does not describe " parameter)
  }
}

FNR == 1 { comment = ""; text = ""; depth = 0; in_directive = 0 }
in_directive { in_directive = /\\$/; next }
/^[ \t]*#/ { in_directive = /\\$/; next }
/^extern "C" \{/ { next }
depth == 0 && /^}/ { next }
/^\/\/\// { comment = comment $0 " \n"; next }
/^[ \t]*$/ { if (text == "") comment = ""; next }
/^[ \t]*\/\// { next }
{
  line = $0
  sub(/[ \t]*(\/\/|\/\*).*$/, "", line)
  opened = gsub(/\{/, "{", line)
  closed = gsub(/\}/, "}", line)
  if (depth > 0 || opened > 0) {
    depth += opened - closed
    text = ""
    next
  }
  if (text == "") first_line = FNR
  text = text (text == "" ? "" : " ") line
  gsub(/ +/, " ", text)
  if (text ~ /;$/) { examine(text); text = ""; comment = "" }
}
