#!/usr/bin/env bash
# Installs the Debian packages listed in debian-packages.txt that are missing.
# Idempotent: when everything is present it only checks and exits.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
# IPC_PACKAGES_FILE names another list (the benchmarks have their own).
list=${IPC_PACKAGES_FILE:-$here/debian-packages.txt}
mapfile -t wanted < <(grep -v -E '^\s*(#|$)' "$list")

missing=()
for pkg in "${wanted[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$pkg" 2>/dev/null || true)
    [ "$status" = "installed" ] || missing+=("$pkg")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "install-deps: installing ${missing[*]}" >&2
if [ "$(id -u)" -eq 0 ]; then
    run=()
elif command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
    run=(sudo -n)
else
    echo "install-deps: root or password-less sudo is needed. Run this, then try again:" >&2
    echo "  sudo apt-get update && sudo apt-get install -y ${missing[*]}" >&2
    exit 1
fi

export DEBIAN_FRONTEND=noninteractive
# An install straight away works when the package lists are fresh; refresh them when it does not.
if ! "${run[@]}" apt-get install -y -q "${missing[@]}" >/dev/null 2>&1; then
    "${run[@]}" apt-get update -q
    "${run[@]}" apt-get install -y -q "${missing[@]}"
fi
