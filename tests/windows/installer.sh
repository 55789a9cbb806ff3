#!/usr/bin/env bash
# The Windows installer under Wine as an administrator meets it, one step per call (the Windows
# stage runs them in order in its throw-away $WINEPREFIX, after the server was unregistered):
#   installer.sh install   SETUP STAGE VERSION   SETUP /S installs the files of STAGE (as
#                          scripts/package staged them), lists itself under Uninstall and
#                          registers the 64-bit server from Program Files; every file and the
#                          Uninstall entry carry VERSION; the VBScript check and tovport.exe
#                          ports run from there
#   installer.sh uninstall                       the QuietUninstallString removes every file, the
#                          Uninstall entry and the server's registration
# 64-bit Wine runs no 32-bit program, so the 32-bit server is checked as installed, not as
# registered. Any failed check exits 1.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
wine=${WINE:-/usr/lib/wine/wine64}
export WINEDEBUG=-all
: "${WINEPREFIX:?needs the Wine prefix}"
readonly uninstall_key='HKLM\Software\Microsoft\Windows\CurrentVersion\Uninstall\tovport'
readonly install_dir='C:\Program Files\tovport'
readonly installed="$WINEPREFIX/drive_c/Program Files/tovport"
readonly files=(tovport.exe x64/tovport.dll x86/tovport.dll uninstall.exe)

fail() { echo "FAIL: $*" >&2; exit 1; }
winpath() { echo "Z:${1//\//\\}"; }
registered() { "$wine" reg query "HKCR\\$1" >/dev/null 2>&1; }
# uninstall_value NAME: a value of the Uninstall entry, in the 64-bit view of the registry.
uninstall_value() {
  "$wine" reg query "$uninstall_key" /v "$1" /reg:64 2>/dev/null | tr -d '\r' | sed -n "s/^ *$1 *REG_[A-Z_]* *//p"
}

install() {
  local setup=$1 stage=$2 version=$3 f status=0 want got
  [[ $(basename "$setup") == "tovport-$version-setup.exe" ]] || fail "the installer is named $(basename "$setup")"
  timeout 120 "$wine" "$(winpath "$(realpath "$setup")")" /S || status=$?
  [[ $status == 0 ]] || fail "the silent installation exited $status"
  for f in "${files[@]:0:3}"; do
    cmp -s "$stage/$f" "$installed/$f" || fail "$f is not installed as staged"
  done
  [ -f "$installed/uninstall.exe" ] || fail "no uninstaller"

  for want in "DisplayName=tovport" "DisplayVersion=$version" "InstallLocation=$install_dir" \
              "UninstallString=\"$install_dir\\uninstall.exe\"" \
              "QuietUninstallString=\"$install_dir\\uninstall.exe\" /S"; do
    got=$(uninstall_value "${want%%=*}")
    [[ $got == "${want#*=}" ]] || fail "Uninstall entry: ${want%%=*} is '$got', not '${want#*=}'"
  done
  [[ -n $(uninstall_value Publisher) ]] || fail "Uninstall entry: no Publisher"

  got=$("$wine" reg query 'HKCR\CLSID\{B2891C65-5E02-4B6C-A8E0-0467B13BEAFC}\InprocServer32' /ve | tr -d '\r' |
        sed -n 's/^ *(Default) *REG_SZ *//p')
  [[ $got == "$install_dir\\x64\\tovport.dll" ]] || fail "the class's server is '$got'"

  # Each binary's version resource, as Windows reads it (GetFileVersion: the fixed file version).
  local paths=() versions
  for f in "${files[@]}"; do paths+=("$install_dir\\${f//\//\\}"); done
  versions=$("$wine" cscript //nologo "$(winpath "$here/file_version.vbs")" "${paths[@]}" | tr -d '\r' | xargs)
  want=$(for f in "${files[@]}"; do echo "$version.0"; done | xargs)
  [[ $versions == "$want" ]] || fail "file versions of ${files[*]}: $versions, not $want"
  got=$("$wine" "$install_dir\\tovport.exe" --version | tr -d '\r')
  [[ $got == "tovport $version" ]] || fail "tovport.exe --version: $got"
  echo "ok: $(basename "$setup") /S installed ${files[*]}, version $version, the 64-bit server registered"

  "$here/ole_boundary.sh" vbscript "$installed/x64"
  got=$("$wine" "$install_dir\\tovport.exe" ports | tr -d '\r') || fail "tovport.exe ports exited $?"
  [[ $got == *$'\nCOM1 '* ]] || fail "tovport.exe ports did not list Wine's COM1: $got"
  echo "ok: tovport.exe ports from $install_dir"
}

# The uninstaller copies itself to the temporary folder, starts the copy and returns at once; the
# copy removes the Uninstall entry last, so that is what the step waits for.
uninstall() {
  local command status=0 tries=0 left
  command=$(uninstall_value QuietUninstallString)
  [[ -n $command ]] || fail "no QuietUninstallString"
  [[ $command =~ ^\"([^\"]+)\"\ (.*)$ ]] || fail "QuietUninstallString: $command"
  # shellcheck disable=SC2086  # the arguments after the quoted program split at blanks
  "$wine" "${BASH_REMATCH[1]}" ${BASH_REMATCH[2]} || status=$?
  [[ $status == 0 ]] || fail "the silent uninstallation exited $status"
  while [[ -n $(uninstall_value DisplayName) ]]; do
    tries=$((tries + 1)); [[ $tries -le 120 ]] || fail "the Uninstall entry is still there after 60 s"
    sleep 0.5
  done
  left=$(find "$installed" 2>/dev/null || true)
  [[ -z $left ]] || fail "left behind: $left"
  ! registered 'tovport.tovComPrtv3' || fail "the ProgID is still registered"
  ! registered 'CLSID\{B2891C65-5E02-4B6C-A8E0-0467B13BEAFC}' || fail "the class is still registered"
  ! registered 'TypeLib\{FD4BD311-9D8A-44AF-BEA2-53397148155F}' || fail "the type library is still registered"
  echo "ok: the silent uninstallation left no file, Uninstall entry or registration"
}

case ${1:-} in
  install | uninstall) step=$1; shift; "$step" "$@" ;;
  *) fail "unknown step '${1:-}'" ;;
esac
