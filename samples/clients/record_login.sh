#!/bin/bash
# Shows the PCs of a component and records that somebody logged in on one of them.
#
# Usage: record_login.sh MAC-NUMBER COMPUTER COMPONENT USER
#
# The database comes from TARNWICK_CONNECT, TARNWICK_ROLE and TARNWICK_PASSWORD_FILE, as with the
# command line. Needs busctl (Debian's systemd), jq, and with_server.py beside this script.
set -euo pipefail

if (($# != 4)); then
  sed -n 's/^# \?//; 2,7p' "$0" >&2
  exit 1
fi
mac=$1 computer=$2 component_id=$3 user=$4
name=org.tarnwick.Security1

# call PATH INTERFACE METHOD [SIGNATURE ARGUMENT...]: the result as JSON. A call may have to wait for
# a row that somebody maintains.
call() {
  busctl --user --json=short --timeout=120 call "$name" "$1" "$name.$2" "${@:3}" | jq -c '.data[0]'
}
# get PATH INTERFACE PROPERTY: its value as JSON; texts plain.
get() { busctl --user --json=short get-property "$name" "$1" "$name.$2" "$3" | jq -r .data; }
# set_property PATH INTERFACE PROPERTY SIGNATURE VALUE
set_property() { busctl --user set-property "$name" "$1" "$name.$2" "${@:3}"; }

fail() {
  printf '%s\n' "$@" >&2
  exit 1
}

[[ -v TARNWICK_SERVER_PATH ]] || exec "$(dirname "$(readlink -f "$0")")/with_server.py" "$0" "$@"
server=$TARNWICK_SERVER_PATH

components=$(get "$server" Server Components)
component=$(call "$components" Components Item v s "C$component_id" | jq -r .)
[[ $component != / ]] || fail "There is no component $component_id."

# Reading many records: rows, a thousand at a time, instead of one object after the other.
register=$(get "$server" Server RegisteredPCs)
printf '%s is used by:\n' "$(get "$component" Component Name)"
first=1
while rows=$(call "$register" Rows GetRows uu "$first" 1000) && [[ $rows != '[]' ]]; do
  jq -r --argjson id "$component_id" '.[] | map_values(.data) | select(.CompID == $id) |
    "  \(.ComputerID): \(.TotalLogins) logins, last \(.LastUser)"' <<<"$rows"
  ((first += 1000))
done

# Changing one: its object. Item of this collection fails where the others return "/".
between=$'\xc3\xbe' # U+00FE in UTF-8
key=$mac$between$computer$between$component_id
[[ $(call "$register" RegisteredPCs Exists s "$key") == true ]] ||
  fail "$computer is not registered for component $component_id."
pc=$(call "$register" RegisteredPCs Item v s "$key" | jq -r .)
[[ $(call "$pc" RegisteredPC LockRecord) == true ]] ||
  fail "$computer cannot be locked." "$(get "$server" Server LastErrorMsg)"
set_property "$pc" RegisteredPC LastUser s "$user"
# Days since 30 December 1899, in local time.
set_property "$pc" RegisteredPC LastLogin d \
  "$(jq -n "$(date -u -d "$(date '+%F %T')" +%s) / 86400 + 25569")"
set_property "$pc" RegisteredPC TotalLogins i $(($(get "$pc" RegisteredPC TotalLogins) + 1))
[[ $(call "$pc" RegisteredPC Update) == 0 ]] ||
  fail "$computer was not written." "$(get "$server" Server LastErrorMsg)"
printf 'Now %s: %s logins, last %s\n' "$computer" "$(get "$pc" RegisteredPC TotalLogins)" \
  "$(get "$pc" RegisteredPC LastUser)"
