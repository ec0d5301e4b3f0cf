#!/bin/bash
# The table of public headers against the programs: each header has a row, and each program named in it uses the header.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.." || exit 1
table=docs/programs.md

# The program's source, and the headers of cgi/ that it includes, each once.
sources_of() {
  local -A seen=()
  local queue=("cgi/$1.cpp") file include
  while [ ${#queue[@]} -gt 0 ]; do
    file=${queue[0]} queue=("${queue[@]:1}")
    if [ -n "${seen[$file]:-}" ] || [ ! -f "$file" ]; then continue; fi
    seen[$file]=yes
    echo "$file"
    # What a header declares, the source beside it does.
    if [[ $file == *.h ]]; then queue+=("${file%.h}.cpp"); fi
    while read -r include; do queue+=("cgi/$include"); done < <(sed -nE 's/^#include "([a-z_]+\.h)".*/\1/p' "$file")
  done
}

for header in include/*.h; do
  name=${header#include/}
  [ "$name" != tarvel_export.h ] || continue  # declares nothing but the mark of what is exported
  row=$(grep -nF "| \`<tarvel/$name>\` |" "$table")
  [ -n "$row" ] || { echo "$table:1: no row for <tarvel/$name>"; continue; }
  mapfile -t programs < <(grep -oE '`[a-z_]+\.cgi`' <<<"$row" | tr -d '`')
  [ ${#programs[@]} -gt 0 ] || echo "$table:${row%%:*}: no program uses <tarvel/$name>"
  for program in "${programs[@]}"; do
    mapfile -t sources < <(sources_of "${program%.cgi}")
    [ ${#sources[@]} -gt 0 ] || { echo "$table:${row%%:*}: there is no $program"; continue; }
    grep -qF "#include <tarvel/$name>" "${sources[@]}" || echo "$table:${row%%:*}: $program does not use <tarvel/$name>"
  done
done
