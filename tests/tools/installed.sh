#!/usr/bin/env bash
# installed.sh BUILD WORK: installs the tool from BUILD below WORK, and looks at what comes with it: the man
# pages, which groff has nothing to say against, and what the shell completes.
set -euo pipefail
build=$1 prefix=$2/installed
rm -rf "$prefix"
SOURCE_DATE_EPOCH=86400 cmake --install "$build" --component tlk --prefix "$prefix" >/dev/null
cd "$prefix"

diff - <(find . -type f | sort) <<'EXPECTED'
./bin/tlk
./etc/lnav/formats/tlkc2/tlkc2.json
./lib/wireshark/plugins/tlkc2.lua
./share/bash-completion/completions/tlk
./share/man/man1/tlk-host.1.gz
./share/man/man1/tlk-load.1.gz
./share/man/man1/tlk-log.1.gz
./share/man/man1/tlk-message.1.gz
./share/man/man1/tlk-serve.1.gz
./share/man/man1/tlk-tap.1.gz
./share/man/man1/tlk.1.gz
EXPECTED

# sections PAGE: its headings in a line; fails with what groff warns of.
sections() {
  local warnings
  warnings=$(zcat "share/man/man1/$1.1.gz" | groff -ww -man -Tutf8 2>&1 >page.txt)
  if [ -n "$warnings" ]; then
    echo "$1.1: $warnings" >&2
    return 1
  fi
  zcat "share/man/man1/$1.1.gz" | sed -n 's/^\.SH //p' | paste -sd,
}
all='EXIT STATUS,ENVIRONMENT'
[ "$(sections tlk)" = "NAME,SYNOPSIS,DESCRIPTION,COMMANDS,OPTIONS,EXAMPLES,$all,FILES,SEE ALSO" ]
[ "$(sections tlk-host)" = "NAME,SYNOPSIS,DESCRIPTION,OPTIONS,EXAMPLES,$all,FILES,SEE ALSO" ]
[ "$(sections tlk-log)" = "NAME,SYNOPSIS,DESCRIPTION,OPTIONS,EXAMPLES,$all,FILES,SEE ALSO" ]
[ "$(sections tlk-serve)" = "NAME,SYNOPSIS,DESCRIPTION,OPTIONS,EXAMPLES,$all,SEE ALSO" ]
[ "$(sections tlk-message)" = "NAME,SYNOPSIS,DESCRIPTION,OPTIONS,EXAMPLES,$all,SEE ALSO" ]
[ "$(sections tlk-load)" = "NAME,SYNOPSIS,DESCRIPTION,OPTIONS,EXAMPLES,$all,SEE ALSO" ]
zcat share/man/man1/tlk-message.1.gz >page
grep -q '^\.TH TLK\\-MESSAGE 1 1970-01-02 "tlk ' page

. share/bash-completion/completions/tlk
compopt() { :; }  # The shell has it only while somebody types.
# completed WORD...: what a line of these words, the last one unfinished, may go on with.
completed() {
  COMP_WORDS=(tlk "$@") COMP_CWORD=$# COMPREPLY=()
  _tlk "$tlk" "${*: -1}" "${COMP_WORDS[COMP_CWORD - 1]}"
  printf '%s\n' "${COMPREPLY[*]}"
}
tlk=$PWD/bin/tlk
mkdir files && cd files && touch 'a talk'
diff - <(
  complete -p tlk
  completed ''
  completed ho
  completed serve --m
  completed host -
  completed serve --port ''
  completed message --check 'a '
) <<'EXPECTED'
complete -F _tlk tlk
-h --help --version host load log message serve tap help
host
--max-length --max-queue --max-memory
-h --help --script --code-page -q --quiet --fail --escapes --no-texts

a talk
EXPECTED
