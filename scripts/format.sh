#!/usr/bin/env bash
# Formats every C++ file. With --check, only lists the lines that differ.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

mode=(-i)
if [[ ${1:-} == --check ]]; then
    mode=(--dry-run -Werror)
fi

# Includes files that are not committed yet, and omits files that are deleted on disk.
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

# Prefers version 14: other versions format some lines differently.
"$(first_of clang-format-14 clang-format)" "${mode[@]}" "${files[@]}"
