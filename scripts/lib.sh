# shellcheck shell=bash
# What the commands of this repository share. Sourced, never run; the caller has set
# `set -euo pipefail` and stands in the repository's root.

say() {
  if [[ -t 1 ]]; then
    printf '\n\033[1m== %s\033[0m\n' "$*"
  else
    printf '\n== %s\n' "$*"
  fi
}

fail() {
  printf '%s: %s\n' "${0##*/}" "$1" >&2
  exit "${2:-1}"
}

# The packages that the given list files name, one per line.
listed_packages() { sed -e 's/#.*//' -e 's/[[:space:]]//g' -e '/^$/d' "$@"; }

# Those of the given packages that are not installed.
missing_packages() {
  # dpkg-query fails as soon as one name is unknown to it, which is an answer here.
  local installed
  installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' "$@" 2>/dev/null |
    sed -n 's/^installed //p' || true)
  local package
  for package in "$@"; do
    grep -qxF -e "$package" <<<"$installed" || printf '%s\n' "$package"
  done
}

# Installs what the given list files name and this machine lacks.
install_packages() {
  local packages missing
  mapfile -t packages < <(listed_packages "$@")
  command -v dpkg-query >/dev/null ||
    fail "this is not a Debian system; install what answers to: ${packages[*]}"
  mapfile -t missing < <(missing_packages "${packages[@]}")
  ((${#missing[@]})) || return 0

  local as_root
  if ((EUID == 0)); then
    as_root=(env)
  elif command -v sudo >/dev/null && { sudo -n true 2>/dev/null || [[ -t 0 ]]; }; then
    as_root=(sudo env)
  else
    fail "neither root nor sudo here; have these packages installed: ${missing[*]}"
  fi

  say "Installing ${missing[*]}"
  local apt=("${as_root[@]}" DEBIAN_FRONTEND=noninteractive apt-get -qq
    -o DPkg::Lock::Timeout=300 -o Acquire::Retries=3)
  "${apt[@]}" update || true # an old package list may still do; the installation decides
  "${apt[@]}" install -y --no-install-recommends "${missing[@]}" >/dev/null ||
    fail "the installation failed; these packages are needed: ${missing[*]}"
}

# configure PRESET: in build/PRESET, as CMakePresets.json says.
configure() {
  local launcher=
  ! command -v ccache >/dev/null || launcher=ccache
  cmake --preset "$1" --log-level=WARNING \
    -DCMAKE_C_COMPILER_LAUNCHER="$launcher" -DCMAKE_CXX_COMPILER_LAUNCHER="$launcher"
}

# build FOLDER [TARGET...]
build() {
  local folder=$1
  shift
  cmake --build "$folder" --parallel "$(nproc)" ${1+--target "$@"}
}

# Every C++ source and header of the repository, each ended by a NUL.
sources() {
  find . \( -path ./build -o -path ./var -o -path ./.git \) -prune -o \
    -type f \( -name '*.cpp' -o -name '*.h' \) -print0
}

passed=0 failed=0 skipped=0

# run_tests REPORT COMMAND...: runs tests and counts what came of them, by the report in JUnit's form
# that they write. Never fails: whatever failed is counted.
run_tests() {
  local report=$1 code=0 before=$failed
  shift
  rm -f "$report"
  "$@" || code=$?
  local tests failures disabled absent
  tests=$(counted tests "$report")
  failures=$(counted failures "$report")
  disabled=$(counted disabled "$report")
  absent=$(counted skipped "$report")
  passed=$((passed + tests - failures - disabled - absent))
  failed=$((failed + failures))
  skipped=$((skipped + disabled + absent))
  # What ended before it had told of a failure, or of anything.
  if ((code && failed == before)) || [[ ! -s $report ]]; then failed=$((failed + 1)); fi
}

# counted NAME REPORT: the number under that name in the report's outermost element; 0 if it has none.
counted() {
  local number=
  [[ ! -s $2 ]] || number=$(head -c 4096 "$2" | tr '\n\t' '  ' |
    grep -oE '<testsuites? [^>]*>' | sed -nE "1s/.* $1=\"([0-9]+)\".*/\\1/p")
  printf '%d\n' "${number:-0}"
}

# end_tests WHAT: ends the script; says what came of its tests, here and in the file $TARNWICK_TALLY.
end_tests() {
  say "$1: $passed passed, $failed failed, $skipped skipped"
  [[ -z ${TARNWICK_TALLY:-} ]] ||
    printf '%s %d %d %d\n' "$1" "$passed" "$failed" "$skipped" >>"$TARNWICK_TALLY"
  ((failed == 0)) || exit 1
  exit 0
}

# require_space FOLDER MEGABYTES: fails where the folder's disk has less left.
require_space() {
  local left
  left=$(df --output=avail -BM "$1" | tail -1 | tr -dc 0-9)
  ((left >= $2)) || fail "the disk is full: $1 has $left MB left, and $2 MB are needed"
}
