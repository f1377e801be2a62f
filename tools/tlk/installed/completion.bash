# Completes the command line of tlk in bash, by what the --help of the program itself says.
_tlk() {
  local word=$2 option=$3 command='' help kind
  [ "$COMP_CWORD" -eq 1 ] || command=${COMP_WORDS[1]}
  if [ "$command" = help ]; then command=''; fi
  # The shell takes --option=VALUE for three words.
  if [ "$option" = = ]; then option=${COMP_WORDS[COMP_CWORD - 2]}; fi
  if [ "$word" = = ]; then word=''; fi
  help=$("${1/#\~/$HOME}" ${command:+"$command"} --help 2>/dev/null </dev/null) || return 0

  # What must follow the option before, as in "  --port N=0", if anything.
  kind=$(awk -v option="$option" '$1 == option && $2 ~ /^[A-Z]+(=|$)/ { print $2 }' <<<"$help")
  case $kind in
    FILE)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -f -- "$word")
      return
      ;;
    ?*) return ;;
  esac

  # Options, and commands where one may stand.
  local words
  words=$(awk -v commands="$((COMP_CWORD == 1))" '
    /^[^ ]/ { list = $1 }
    /^  [^ ]/ && list == "Options:" { gsub(/,/, " ", $1); print $1 }
    /^  [^ ]/ && list == "Subcommands:" { print $1 }
    END { if (commands) print "help" }' <<<"$help")
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -F _tlk tlk
