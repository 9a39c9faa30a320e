#compdef tarnwick
# How zsh completes the command lines of tarnwick. The program itself is asked what may follow.

_tarnwick() {
  emulate -L zsh
  setopt extended_glob
  local program=${${(Q)words[1]}/#\~\//$HOME/} each
  local -a answer texts lines
  answer=("${(@f)$(command $program complete -- "${(@Q)words[2,CURRENT-1]}" "${(Q)PREFIX}" \
    2>/dev/null </dev/null)}")
  case $answer[1] in
    files)
      compset -P '--*='
      _files
      ;;
    folders)
      compset -P '--*='
      _files -/
      ;;
    words)
      local -i width=0
      for each in "${(@)answer[2,-1]%%$'\t'*}"; do
        ((${#each} <= width)) || width=${#each}
      done
      for each in "${(@)answer[2,-1]}"; do
        texts+=("${each%%$'\t'*}")
        if [[ $each == *$'\t'* ]]; then
          each="${(r:width:)texts[-1]}  -- ${each#*$'\t'}"
          lines+=("${each[1,COLUMNS-1]}")
        else
          lines+=("$each")
        fi
      done
      # The program knows which of them match: names do so in any letter case.
      compadd -U -V tarnwick -l -d lines -a texts
      ;;
  esac
}

# Autoloaded it is called by the completion system; read as a script it makes itself known.
if [[ $funcstack[1] == _tarnwick ]]; then
  _tarnwick "$@"
else
  compdef _tarnwick tarnwick
fi
