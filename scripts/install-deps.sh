#!/usr/bin/env bash
# Installs the Debian packages listed in debian-packages.txt that are missing.
# Idempotent: when everything is present it only checks and exits.
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
# IPC_PACKAGES_FILE names another list (the benchmarks have their own).
list=${IPC_PACKAGES_FILE:-$here/debian-packages.txt}
mapfile -t wanted < <(grep -v -E '^\s*(#|$)' "$list")

# The browser test drives Chromium from Node.js; a machine that already has node keeps it.
if [ -z "${IPC_PACKAGES_FILE:-}" ] && ! command -v npm >/dev/null 2>&1; then
    wanted+=(nodejs npm)
fi

# Message catalogues are looked up through the system's locales.
locales_wanted=(en_US.UTF-8 de_DE.UTF-8 fr_FR.UTF-8 es_ES.UTF-8 ko_KR.UTF-8)
locales_missing=()
if [ -z "${IPC_PACKAGES_FILE:-}" ]; then
    have=$(locale -a 2>/dev/null | tr 'A-Z' 'a-z' | sed 's/utf-8/utf8/')
    for loc in "${locales_wanted[@]}"; do
        norm=$(echo "$loc" | tr 'A-Z' 'a-z' | sed 's/utf-8/utf8/')
        grep -qx "$norm" <<<"$have" || locales_missing+=("$loc")
    done
fi

missing=()
for pkg in "${wanted[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$pkg" 2>/dev/null || true)
    [ "$status" = "installed" ] || missing+=("$pkg")
done
[ ${#missing[@]} -eq 0 ] && [ ${#locales_missing[@]} -eq 0 ] && exit 0

echo "install-deps: installing ${missing[*]} ${locales_missing[*]}" >&2
if [ "$(id -u)" -eq 0 ]; then
    run=()
elif command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
    run=(sudo -n)
else
    echo "install-deps: root or password-less sudo is needed. Run this, then try again:" >&2
    [ ${#missing[@]} -eq 0 ] || echo "  sudo apt-get update && sudo apt-get install -y ${missing[*]}" >&2
    for loc in "${locales_missing[@]}"; do
        echo "  echo '$loc UTF-8' | sudo tee -a /etc/locale.gen" >&2
    done
    [ ${#locales_missing[@]} -eq 0 ] || echo "  sudo locale-gen" >&2
    exit 1
fi

export DEBIAN_FRONTEND=noninteractive
if [ ${#missing[@]} -gt 0 ]; then
    # An install straight away works when the package lists are fresh; refresh them when not.
    if ! "${run[@]}" apt-get install -y -q "${missing[@]}" >/dev/null 2>&1; then
        "${run[@]}" apt-get update -q
        "${run[@]}" apt-get install -y -q "${missing[@]}"
    fi
fi
if [ ${#locales_missing[@]} -gt 0 ]; then
    for loc in "${locales_missing[@]}"; do
        grep -q "^$loc UTF-8" /etc/locale.gen 2>/dev/null ||
            echo "$loc UTF-8" | "${run[@]}" tee -a /etc/locale.gen >/dev/null
    done
    "${run[@]}" locale-gen >/dev/null
fi
