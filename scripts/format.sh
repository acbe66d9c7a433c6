#!/usr/bin/env bash
# Formats every C++ file; with --check only says which lines differ.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

mode=(-i)
if [[ ${1:-} == --check ]]; then
    mode=(--dry-run -Werror)
fi

# Files that are not committed yet count too; those that are only deleted on disk do not.
files=()
while IFS= read -r -d '' file; do
    if [[ -e $file ]]; then
        files+=("$file")
    fi
done < <(git ls-files -z --cached --others --exclude-standard -- '*.h' '*.cpp')

if ((${#files[@]} == 0)); then
    echo "git names no C++ files here" >&2
    exit 1
fi

# Another version lays out some lines differently, hence the one that is asked for first.
"$(first_of clang-format-14 clang-format)" "${mode[@]}" "${files[@]}"
