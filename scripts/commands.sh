#!/usr/bin/env bash
# Runs the commands of the README and the guide in a copy of the sources, with an empty home. The
# PATH has only the programs of a bare Debian, of `scripts/setup.sh demo`, and of the groups that a
# page sets up. Other installed programs are hidden.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

work=$PWD/build/commands
rm -rf "$work"
mkdir -p "$work/copy" "$work/home"
tar -cf - --exclude=./build --exclude=./.git . | tar -xf - -C "$work/copy"

# programs_of FOLDER GROUP...: links the programs of a bare Debian and of the groups into a folder.
programs_of() {
    local folder=$1
    shift
    mkdir -p "$folder"
    local packages
    mapfile -t packages < <(
        dpkg-query -W -f '${Package} ${Essential} ${Priority}\n' |
            awk '$2 == "yes" || $3 == "required" { print $1 }'
        scripts/setup.sh --list "$@"
    )
    # Adds the dependencies. A name that begins with "<" is a virtual package.
    mapfile -t packages < <(
        apt-cache depends --recurse --installed --no-recommends --no-suggests --no-conflicts \
            --no-breaks --no-replaces --no-enhances "${packages[@]}" | grep '^[a-z]' | sort -u
    )
    local name path
    # Packages that are not installed, since another replaces them, have no files. A program may
    # have further names, such as c++.
    (dpkg-query -L "${packages[@]}" 2>/dev/null || true) |
        sed 's|^/bin/|/usr/bin/|; s|^/sbin/|/usr/sbin/|' |
        sort -u >"$work/files"
    for path in /usr/bin/* /usr/sbin/*; do
        name=$(basename "$path")
        if grep -qxF "$(readlink -f "$path")" "$work/files"; then
            ln -sf "$path" "$folder/$name"
        fi
    done
}

for page in README.md docs/guide.md docs/guide/*.md; do
    folder=$work/pages/$(basename "$page" .md)
    mkdir -p "$folder"
    awk -v folder="$folder" -f tests/docs/extract.awk "$page" >/dev/null
    if [[ ! -e $folder/commands.sh ]]; then
        continue
    fi
    mapfile -t groups < <(sed -n 's|^scripts/setup.sh \([a-z ]*[a-z]\).*|\1|p' "$folder/commands.sh" |
        tr ' ' '\n')
    set_up demo "${groups[@]}"
    programs_of "$folder/bin" demo "${groups[@]}"
    cp "$folder"/*.* "$work/copy"
    echo "The commands of $page"
    (cd "$work/copy" &&
        quietly env -i PATH="$folder/bin" HOME="$work/home" sh -ex "$folder/commands.sh")
done
