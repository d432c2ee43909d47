#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: texts.sh FOLDER-OF-TEXTS FOLDER-OF-THIS FOLDER-OF-PROGRAMS
# The manual pages and completions that the build makes of the programs' descriptions: man finds nothing
# wrong and shows every command, and three shells complete commands, options and values.
set -euo pipefail
texts=$1
here=$2
programs=$3
for needed in man groff zsh fish; do
    command -v "$needed" >/dev/null || { echo "needs the package ${needed/#man/man-db}"; exit 1; }
done
failed=0
wrong() { echo "$1"; failed=1; }

# expect SHELL LINE WORD...: what the shell offers for the line is these words, and no other
offered() { # SHELL FILE LINE
    case $1 in
        bash) bash --norc -c '
            source "$1"
            read -ra COMP_WORDS <<<"$2"
            [[ $2 == *" " ]] && COMP_WORDS+=("")
            COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
            "_${COMP_WORDS[0]//-/_}"
            printf "%s\n" "${COMPREPLY[@]}"' bash "$2" "$3" ;;
        fish) HOME=$work fish --no-config -c 'source $argv[1]; complete -C $argv[2]' "$2" "$3" |
            cut -f 1 ;;
        zsh) HOME=$work zsh -f "$here/zshoffers" "${2%/*}" "$3" ;;
    esac | sed '/^$/d' | sort -u
}
expect() {
    local shell=$1 line=$2 program=${2%% *} file
    shift 2
    case $shell in
        bash) file=$texts/bash/$program ;;
        fish) file=$texts/fish/$program.fish ;;
        zsh) file=$texts/zsh/_$program ;;
    esac
    local got
    got=$(offered "$shell" "$file" "$line")
    [ "$got" = "$(printf '%s\n' "$@" | sort)" ] ||
        wrong "$shell offers for '$line': $(tr '\n' ' ' <<<"$got") and not: $*"
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
found=0
for page in "$texts"/man/*.1; do
    found=$((found + 1))
    program=$(basename "$page" .1)
    [ -x "$programs/$program" ] || wrong "a page of no program: $page"
    warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -l "$page" 2>&1 >"$work/page")
    [ -z "$warnings" ] || wrong "$page: $warnings"
    sed -i 's/.\x08//g' "$work/page"
    for section in NAME SYNOPSIS DESCRIPTION OPTIONS; do
        grep -qx "$section" "$work/page" || wrong "$page has no $section"
    done
    # The commands, as the help lists them.
    "$programs/$program" --help |
        sed -nE '/^Commands:/,/^$/s/^  ([a-z][a-z-]*).*/\1/p' >"$work/commands"
    while read -r command; do
        grep -qE "^   $command( |$)" "$work/page" || wrong "$page says nothing of $command"
    done <"$work/commands"
    for shell in bash zsh fish; do
        [ -n "$(ls "$texts/$shell" | grep -E "^_?$program(\.fish)?$")" ] ||
            wrong "no completions of $program for $shell"
    done
    bash -n "$texts/bash/$program" && zsh -n "$texts/zsh/_$program" &&
        fish --no-execute "$texts/fish/$program.fish" || wrong "the completions of $program cannot be read"
done
[ "$found" -gt 0 ] || wrong "no manual page in $texts"

for shell in bash fish zsh; do
    expect $shell 'kelaccount prof' profile
    expect $shell 'kelaccount check-' check-email check-user
    expect $shell 'kelaccount --server staging prof' profile
    expect $shell 'kelaccount --server st' staging
    expect $shell 'kelaccount register --last' --last-name
    expect $shell 'kelaccount register --la' --language --last-name
    expect $shell 'kelaccount help regi' register
done
expect bash 'kelaccount-emulator run --fault hu' huge-body=
expect fish 'kelaccount-emulator run --fault hu' huge-body=
expect zsh 'kelaccount-emulator run --fault hu' huge-body
expect bash 'kelaccount-tag-server --die-w' --die-with-parent
expect fish 'kelaccount-tag-server --die-w' --die-with-parent
expect zsh 'kelaccount-tag-server --die-w' --die-with-parent
expect bash 'kelaccount-emulator run kelaccount-no-such-program'
# Values that are joined to their option come to bash in three words.
expect bash 'kelaccount --server = test-' test-a test-b test-c test-d
expect bash 'kelaccount --server = ' production staging test-a test-b test-c test-d
exit $failed
