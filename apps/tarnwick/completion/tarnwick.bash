# How bash completes the command lines of tarnwick. The program itself is asked what may follow.

_tarnwick() {
  local program=$1 answer
  [[ $program != \~/* ]] || program=$HOME/${program:2}
  COMPREPLY=()
  mapfile -t answer < <("$program" complete bash "${COMP_LINE:0:COMP_POINT}" "$COMP_TYPE" \
    "$COMP_WORDBREAKS" 2>/dev/null </dev/null)
  case ${answer-} in
    words) COMPREPLY=("${answer[@]:1}") ;;
    files) compopt -o default ;;
    folders) compopt -o dirnames ;;
  esac
}

complete -o nosort -F _tarnwick tarnwick
