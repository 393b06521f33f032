#!/usr/bin/env bash
# usage: check_options.sh PROGRAM
# The manual page is well-formed, and it and the completions know every option that --help shows.
set -euo pipefail
program=$1
cd "$(dirname "$0")/../tools"
mandoc -Tlint -W warning ozr-pano.1

# What bash offers for an option of a command.
# shellcheck source=/dev/null
source completion/ozr-pano.bash
offered() {
    COMP_WORDS=(ozr-pano "$1" -) COMP_CWORD=2
    [ -n "$1" ] || COMP_WORDS=(ozr-pano -) COMP_CWORD=1
    compopt() { :; } # there is no completion under way
    _ozr_pano
    printf '%s\n' "${COMPREPLY[@]}" | grep '^-' | sort
}

status=0
miss() { echo "$*" >&2; status=1; }
for command in "" $("$program" --help | sed '1,/^Subcommands:/d' | awk '{print $1}'); do
    # shellcheck disable=SC2086  # no command is no argument
    options=$("$program" $command --help | sed -n 's/^  \(-[^ ]*\).*/\1/p' | tr ',' '\n' | sort)
    [ -n "$options" ] || miss "no options in the help of '$command'"
    diff <(echo "$options") <(offered "$command") >&2 || miss "bash offers other options of '$command' than its help"
    grep -qw -- "$command" completion/_ozr-pano completion/ozr-pano.fish || miss "$command is not completed"
    for option in $options; do
        name=${option#-} flag="Fl $name" fish="-s $name"
        [[ $option != --* ]] || name=${option#--} flag="Fl Fl ${option#--}" fish="-l ${option#--}"
        grep -qE -- "$flag( |\$)" ozr-pano.1 || miss "the manual page does not have $option"
        grep -qE -- "[^-a-z]$option([^-a-z]|\$)" completion/_ozr-pano || miss "zsh does not know $option"
        grep -qE -- "$fish( |\$)" completion/ozr-pano.fish || miss "fish does not know $option"
    done
done
exit $status
