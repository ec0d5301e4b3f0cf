# From the machine's table of types (a type and its extensions on each line) the appliance's: an extension and a type on
# each line. Of several types of an extension the first one counts, as it does for those who read the table.
{ sub(/\r$/, "") }
/^#/ { next }
$1 ~ /^[^\/]+\/[^\/]+$/ {
  for (i = 2; i <= NF; ++i) {
    extension = tolower($i)
    if (extension in known) continue
    known[extension]
    print extension, $1
    ++count
  }
}
END {
  if (count < 500) {
    print "the table of types holds " count + 0 " extensions, which cannot be all" >"/dev/stderr"
    exit 1
  }
}
