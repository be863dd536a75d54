#!/usr/bin/env bash
# clang-tidy (.clang-tidy) over the files of a build's compile database and over our own headers;
# any finding fails. Usage: scripts/tidy.sh BUILD_DIR JOBS [--changed]
# With --changed only the C and C++ files changed since the merge base with the main line
# (origin/main, else main) are checked; every file is when a header, .clang-tidy or a CMake file
# changed, or when HEAD is on the main line itself (a fresh clone of it).
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1 jobs=$2 mode=${3:-}
# run-clang-tidy and its header filter take regular expressions: the checkout's path is escaped.
root=$(printf '%s' "$PWD" | sed 's/[].[^$*+?(){}|\\]/\\&/g')
files="^$root/"

if [ "$mode" = --changed ]; then
    base=
    for line in origin/main main; do
        if git rev-parse -q --verify "$line^{commit}" >/dev/null; then
            base=$(git merge-base HEAD "$line" || true)
            break
        fi
    done
    if [ -n "$base" ] && [ "$base" != "$(git rev-parse HEAD)" ]; then
        mapfile -t changed < <(git diff --name-only "$base" --)
        rebuilt='\.h$|^\.clang-tidy$|CMakeLists\.txt$|^cmake/'
        if printf '%s\n' "${changed[@]}" | grep -q -E "$rebuilt"; then
            echo "tidy: a header or the build changed since ${base:0:12}"
        else
            sources=$(printf '%s\n' "${changed[@]}" | grep -E '\.(c|cpp)$' |
                sed 's/[].[^$*+?(){}|\\]/\\&/g' | paste -sd '|' || true)
            if [ -z "$sources" ]; then
                echo "tidy: no C or C++ file changed since ${base:0:12}"
                exit 0
            fi
            echo "tidy: the files changed since ${base:0:12}"
            files="^$root/($sources)\$"
        fi
    fi
fi

[ "$files" = "^$root/" ] && echo "tidy: every file"
# run-clang-tidy colours its output and names every file it starts; only findings are kept.
run-clang-tidy -p "$build" -j "$jobs" -quiet -header-filter="^$root/" "$files" 2>&1 |
    sed -u -E 's/\x1b\[[0-9;]*m//g' |
    sed -u -E '/^clang-tidy(-[0-9]+)? |^[0-9]+ warnings? (generated|treated as errors)\.$/d'
