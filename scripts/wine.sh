# shellcheck shell=bash
# Wine for the scripts of this repository. Sourced, behind lib.sh.

wine() { "$(wine_folder)/wine64" "$@"; }

# Where Debian keeps the programs of Wine; they are not on the path.
wine_folder() {
  local folder
  for folder in /usr/lib/wine /usr/bin; do
    [[ -x $folder/wine64 ]] && printf '%s\n' "$folder" && return
  done
  fail 'there is no wine64'
}

# use_prefix FOLDER: makes the Wine prefix FOLDER if there is none, and keeps its server alive until
# the script ends: starting it anew costs seconds. What runs in it knows of no screen.
use_prefix() {
  mkdir -p "$1"
  WINEPREFIX=$(readlink -f "$1")
  export WINEPREFIX WINEDEBUG=-all
  unset DISPLAY
  trap stop_wine EXIT
  # What a run before this one left behind.
  "$(wine_folder)/wineserver" -k 2>/dev/null || true
  if [[ ! -f $WINEPREFIX/made ]]; then
    wine wineboot -i >/dev/null 2>&1
    # Windows inside one of Wine's own: without a window manager each of them would take two seconds.
    wine reg add 'HKCU\Software\Wine\Explorer' /v Desktop /d Default /f >/dev/null 2>&1
    wine reg add 'HKCU\Software\Wine\Explorer\Desktops' /v Default /d 1024x768 /f >/dev/null 2>&1
    "$(wine_folder)/wineserver" -w
    touch "$WINEPREFIX/made"
  fi
  # The session in which a prefix is made does without some services: the next one has them.
  "$(wine_folder)/wineserver" -p
}

# use_screen: a screen of its own for all that runs in the prefix from now on.
use_screen() {
  "$(wine_folder)/wineserver" -k || true # whoever runs there knows of no screen
  local number
  exec {number}< <(exec Xvfb -displayfd 1 -screen 0 1280x1024x24 -nolisten tcp 2>/dev/null)
  screen=$!
  read -r -t 60 -u "$number" DISPLAY || fail 'Xvfb does not start'
  export DISPLAY=:$DISPLAY
  "$(wine_folder)/wineserver" -p
}

stop_wine() {
  "$(wine_folder)/wineserver" -k || true
  [[ -z ${screen:-} ]] || kill "$screen" || true
}
