#!/bin/bash
# The table of hostile inputs against the tests: every row names at least one, and each that is named exists.
#
# Three forms of a name: Suite.Case (GoogleTest), FILE.test.mjs: TEXT (a test, or a row of one), NAME_fuzz.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.." || exit 1
table=docs/inputs.md

mapfile -t sources < <(git ls-files --cached --others --exclude-standard -- 'tests/*_test.cpp')
cases=" $(cat "${sources[@]}" | tr '\n' ' ' | grep -oE 'TEST(_F|_P)?\( *\w+, *\w+ *\)' |
  sed -E 's/.*\( *(\w+), *(\w+) *\)/\1.\2/' | tr '\n' ' ')"

exists() {
  case $1 in
    *.test.mjs:\ ?*) grep -qF -- "${1#*: }" "tests/program/${1%%: *}" "tests/site/${1%%: *}" "tests/ranges/${1%%: *}" 2>/dev/null ;;
    *_fuzz) [ -f "tests/fuzz/$1.cpp" ] && [ -d "tests/fuzz/corpus/$1" ] ;;
    *.*) [[ $cases == *" $1 "* ]] ;;
    *) false ;;
  esac
}

rows=0
while IFS=: read -r line row; do
  shown_by=${row% |}
  shown_by=${shown_by##*| }
  mapfile -t names < <(grep -oE '`[^`]+`' <<<"$shown_by" | tr -d '`')
  [ ${#names[@]} -gt 0 ] || echo "$table:$line: no test shows this row"
  for name in "${names[@]}"; do
    exists "$name" || echo "$table:$line: there is no test $name"
  done
  rows=$((rows + 1))
done < <(grep -nE '^\| ' "$table" | grep -vE '^[0-9]+:\| input \|')
[ "$rows" -gt 0 ] || echo "$table:1: has no rows"
