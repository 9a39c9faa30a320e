#!/bin/bash
# Programs outside of the tree, built against the installed library and run on both engines.
set -euo pipefail

usage() {
  cat <<'TEXT'
Usage: tests/packaging/library_test.sh PREFIX

Builds the programs of samples/library and the one in docs/library.md against the library that is
installed below PREFIX, with CMake and with pkg-config, in a folder of their own, and runs them.

  CXX, CXXFLAGS      the compiler (c++) and what the library's own build added for it
  TARNWICK           the command line (tarnwick)
  TARNWICK_SERVER    the service (tarnwick-server)
  TARNWICK_STAND_IN  what speaks SQL Server's protocol in the tests (the target serve_stand_in);
                     without it, it is only seen that the driver finds nobody to talk to
TEXT
}

if (($# != 1)) || [[ $1 == -* ]]; then
  usage >&2
  exit 2
fi
prefix=$(readlink -f "$1")
root=$(readlink -f "$(dirname "$0")/../..")
export CXX=${CXX:-c++} CXXFLAGS=${CXXFLAGS:-}
stand_in=${TARNWICK_STAND_IN:-}
tarnwick=$(command -v "${TARNWICK:-tarnwick}")
server=$(command -v "${TARNWICK_SERVER:-tarnwick-server}")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset "${!TARNWICK_@}"

fail() {
  printf 'library_test.sh: %s\n' "$1" >&2
  exit 1
}

# same WHAT EXPECTED GOT
same() {
  [[ $2 == "$3" ]] || fail "$1: expected '$2', got '$3'"
}

echo 'Building with find_package'
cmake -S "$root/samples/library" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  >"$work/log" || fail "$(cat "$work/log")"
cmake --build "$work/cmake" --parallel 2 >"$work/log" || fail "$(cat "$work/log")"

echo 'Building with pkg-config'
PKG_CONFIG_PATH=$(dirname "$(find "$prefix"/lib* -maxdepth 3 -name tarnwick.pc)")
export PKG_CONFIG_PATH
read -ra settings < <(pkg-config --cflags --libs tarnwick)
sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$root/docs/library.md" |
  sed "s|/srv/dw|$work/warehouse|" >"$work/guide.cpp"
read -ra flags <<<"$CXXFLAGS"
for source in "$root/samples/library/record_login.cpp" "$work/guide.cpp"; do
  "$CXX" -std=c++20 "${flags[@]}" "$source" "${settings[@]}" \
    -o "$work/$(basename "$source" .cpp)" &
done
for job in $(jobs -p); do wait "$job"; done

echo 'Asking for versions'
version=$(pkg-config --modversion tarnwick)
IFS=. read -r major minor _ <<<"$version"
grep -qF "find_package(Tarnwick $major.$minor REQUIRED)" "$root/docs/library.md" ||
  fail "docs/library.md does not ask for version $major.$minor"
mkdir "$work/version"
cat >"$work/version/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(version LANGUAGES CXX)
find_package(Tarnwick ${WANTED} QUIET COMPONENTS ${PART})
message("found: ${Tarnwick_FOUND}")
CMAKE
found() {
  cmake -S "$work/version" -B "$work/version/build" -DCMAKE_PREFIX_PATH="$prefix" \
    -DWANTED="$1" -DPART="$2" 2>&1 | sed -n 's/^found: //p'
}
same 'this version' 1 "$(found "$major.$minor" object_model)"
same 'the next version' 0 "$(found "$major.$((minor + 1))" object_model)"
same 'another first number' 0 "$(found "$((major + 1))" object_model)"
same 'a part that is none' 0 "$(found "$major.$minor" spreadsheet)"

echo 'Running on the embedded engine'
printf 'secret\n' >"$work/password"
printf 'Open-Sesame_1\n' >"$work/server_password"
"$tarnwick" init "$work/warehouse" --role role --password-file "$work/password" --sample \
  >/dev/null
embedded="Provider=Tarnwick.Embedded;Data Source=$work/warehouse"

pc=(02-5A-CD-1D-C9-76 VEL-SAL-012 10)
# logins PROGRAM CONNECT ROLE PASSWORD-FILE: records a login twice, and finds the first one the
# second time.
logins() {
  local run first second
  run=(env TARNWICK_CONNECT="$2" TARNWICK_ROLE="$3" TARNWICK_PASSWORD_FILE="$4" "$1" "${pc[@]}")
  first=$("${run[@]}" first)
  second=$("${run[@]}" second)
  same 'the component' 'Order Analysis is used by:' "${first%%$'\n'*}"
  first=${first##*$'\n'Now }
  [[ $first =~ ^VEL-SAL-012:\ ([0-9]+)\ logins,\ last\ first$ ]] || fail "unexpected: $first"
  [[ $second == *$'\n'"  $first"$'\n'* ]] || fail "not found again: $first"
  same 'the second login' "Now VEL-SAL-012: $((BASH_REMATCH[1] + 1)) logins, last second" \
    "${second##*$'\n'}"
}
logins "$work/cmake/record_login" "$embedded" role "$work/password"
logins "$work/record_login" "$embedded" role "$work/password"
reports=$("$work/guide")
[[ $reports == *$'\nOpen Orders\n'* ]] || fail "the guide's program lists: $reports"

echo 'Running the generic client here and on a bus'
export TARNWICK_CONNECT=$embedded TARNWICK_ROLE=role TARNWICK_PASSWORD_FILE=$work/password
mkdir -p "$work/data/dbus-1/services" "$work/files"
cat >"$work/data/dbus-1/services/org.tarnwick.Security1.service" <<SERVICE
[D-BUS Service]
Name=org.tarnwick.Security1
Exec=$server --folder $work/files
SERVICE
here=$("$work/cmake/list_reports" --here)
same 'the names' "$reports" "$(sed 's/: .*//' <<<"$here")"
on_bus=$(XDG_DATA_HOME=$work/data dbus-run-session -- "$work/cmake/list_reports" 2>"$work/log") ||
  fail "$(cat "$work/log")"
same 'the reports of the service' "$here" "$on_bus"
unset TARNWICK_CONNECT TARNWICK_ROLE TARNWICK_PASSWORD_FILE

echo 'Running on the SQL Server engine'
export ODBCSYSINI=$work ODBCINI=/dev/null
printf '[FreeTDS]\nDriver=libtdsodbc.so\n' >"$work/odbcinst.ini"
if [[ -z $stand_in ]]; then
  nobody='Provider=MSOLEDBSQL;Data Source=127.0.0.1,1;User ID=sa;Password=none'
  code=0
  TARNWICK_CONNECT=$nobody TARNWICK_ROLE=role TARNWICK_PASSWORD_FILE=$work/password \
    "$work/cmake/record_login" "${pc[@]}" nobody >/dev/null 2>"$work/log" || code=$?
  same 'the exit code' 1 "$code"
  grep -q FreeTDS "$work/log" || fail "the driver was not asked: $(cat "$work/log")"
  echo 'There is no stand-in for SQL Server: the driver was asked, and found nobody.'
  exit 0
fi
coproc STAND_IN { "$stand_in"; }
read -r -u "${STAND_IN[0]}" sql_server
"$tarnwick" copy --from "$embedded" --from-role role --from-password-file "$work/password" \
  --to "$sql_server" --to-role tarnwick_app --to-password-file "$work/server_password" >/dev/null
logins "$work/cmake/record_login" "$sql_server" tarnwick_app "$work/server_password"
logins "$work/record_login" "$sql_server" tarnwick_app "$work/server_password"
