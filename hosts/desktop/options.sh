#!/bin/sh
# Makes completions and the manual page's lists of options from the program's own help; see options.awk.
# usage: options.sh FOLDER [EMULATOR] PROGRAM
set -eu
folder=$1
shift
tab=$(printf '\t')
commands=$("$@" --help | sed -nE 's/^  ([a-z]+) .*/\1/p')
{
    "$@" params | sed -nE "s/^ *[0-9]+ +([a-z-]+).*/parameter$tab\1/p"
    "$@" --help | sed -nE "s/^  ([a-z]+) +(.*)/command$tab\1$tab\2/p"
    for command in $commands; do
        # A long option has its text in the next line.
        "$@" "$command" --help | sed -nE "/^Options:/,/^\$/{
            /^  --[a-z-]+ [^ ]+\$/{N;s/\n +/ /}
            s/^  (-(.),)?--([a-z-]+) ([^ ]+)( \.\.\.)? +(.*)/option$tab$command$tab\3$tab\2$tab\4$tab\6/p;t
            s/^  (-(.),)?--([a-z-]+) +(.*)/option$tab$command$tab\3$tab\2$tab$tab\4/p}"
    done
} | awk -v folder="$folder" -f "$(dirname "$0")/options.awk"
gzip -9nkf "$folder/kelvane.1"
