#!/usr/bin/env bash
# Checks that results are bit-identical: builds one program for several processors, compilers and
# optimisations, runs it natively or under an emulator, and compares the outputs.
#
#   scripts/bits.sh            fails if two results differ, or if docs/bits.md shows others
#   scripts/bits.sh --write    writes the table of docs/bits.md
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

set_up checks bits

work=$PWD/build/bits
mkdir -p "$work"

# Prints the folder of Debian's source of expat. Debian has no binary package for some of the
# processors, so that the parser is built from source.
expat_source() {
    local source
    source=$(compgen -G "$work/expat-*/expat" | head -n 1 || true)
    if [[ -z $source ]]; then
        local apt=$work/apt
        mkdir -p "$apt/lists/partial" "$apt/sources"
        find /etc/apt/sources.list.d -name '*.sources' -exec grep -l debian-archive-keyring {} + |
            while read -r file; do
                sed 's/^Types:.*/Types: deb-src/' "$file" >"$apt/sources/$(basename "$file")"
            done
        sed -n 's/^deb /deb-src /p' /etc/apt/sources.list >"$apt/sources/main.list" 2>/dev/null || true
        local options=(-qq -o Dir::Etc::sourcelist=/dev/null -o "Dir::Etc::sourceparts=$apt/sources"
            -o "Dir::State::lists=$apt/lists" -o APT::Sandbox::User=root)
        apt-get "${options[@]}" update >&2
        # Takes the newest version that the mirror still has.
        local version
        for version in $(apt-cache "${options[@]}" showsrc expat | sed -n 's/^Version: //p'); do
            if (cd "$work" && apt-get "${options[@]}" source "expat=$version" >/dev/null); then
                break
            fi
        done
        source=$(compgen -G "$work/expat-*/expat" | head -n 1)
    fi
    echo "$source"
}

# build NAME OPTION...: builds the program in build/bits/NAME.
build() {
    local name=$1
    shift
    quietly cmake -S . -B "$work/$name" -D CMAKE_BUILD_TYPE=Release -D ZEIBREKU_BUILD_TESTS=OFF \
        -D ZEIBREKU_BUILD_EXAMPLES=OFF -D ZEIBREKU_BUILD_PROGRAM=OFF \
        -D ZEIBREKU_BUILD_BITS=ON "$@"
    quietly cmake --build "$work/$name" --target zeibreku_bits
}

# build_for TRIPLE: builds the parser and the program for another processor.
build_for() {
    local triple=$1
    local cross=(--toolchain "$PWD/cmake/cross-toolchain.cmake" -D "ZEIBREKU_TRIPLE=$triple")
    local expat=$work/$triple/expat
    if [[ ! -d $expat/installed ]]; then
        local source
        source=$(expat_source)
        quietly cmake -S "$source" -B "$expat" "${cross[@]}" -D CMAKE_BUILD_TYPE=Release \
            -D EXPAT_DTD=OFF -D EXPAT_BUILD_TOOLS=OFF -D EXPAT_BUILD_EXAMPLES=OFF -D EXPAT_BUILD_TESTS=OFF \
            -D EXPAT_BUILD_DOCS=OFF -D EXPAT_SHARED_LIBS=OFF \
            -D CMAKE_POSITION_INDEPENDENT_CODE=ON -D "CMAKE_INSTALL_PREFIX=$expat/installed"
        quietly cmake --build "$expat" --target install
    fi
    build "$triple" "${cross[@]}" -D "CMAKE_PREFIX_PATH=$expat/installed"
}

names=()
program=tests/bits/zeibreku_bits
traces=tests/golden/traces

# run NAME COMMAND...: writes the output of the command to build/bits/NAME.txt.
run() {
    names+=("$1")
    "${@:2}" "$traces" >"$work/$1.txt" 2>/dev/null
    echo "$1: $(cksum <"$work/$1.txt")"
}

without_fma=glibc.cpu.hwcaps=-AVX2,-FMA,-FMA4,-AVX2_Usable,-FMA_Usable
build x86-64
build x86-64-O1 -D CMAKE_CXX_FLAGS_RELEASE=-O1
build x86-64-clang --toolchain "$PWD/cmake/clang-toolchain.cmake"
run x86-64 "$work/x86-64/$program"
run x86-64-no-fma env "GLIBC_TUNABLES=$without_fma" "$work/x86-64/$program"
run x86-64-nehalem qemu-x86_64 -cpu Nehalem "$work/x86-64/$program"
run x86-64-O1 "$work/x86-64-O1/$program"
run x86-64-clang "$work/x86-64-clang/$program"
for processor in aarch64 s390x riscv64; do
    build_for "$processor-linux-gnu"
    run "$processor" "qemu-$processor" -L "/usr/$processor-linux-gnu" \
        "$work/$processor-linux-gnu/$program"
done

failed=0
for name in "${names[@]}"; do
    if ! diff -u "$work/x86-64.txt" "$work/$name.txt"; then
        echo "$name differs" >&2
        failed=1
    fi
done

# A record that one processor begins is finished by another one, with the same bits and without an
# evaluation that is made twice.
begin_and_finish() {
    local records=$work/records first=$1 second=$2 made
    rm -rf "$records"
    mkdir "$records"
    "$first" "$records" 100 >"$work/$first.txt"
    "$second" "$records" 0 >"$work/$second.txt"
    made=$(awk '/^made/ { sum += $2 } END { print sum }' "$work/$first.txt" "$work/$second.txt")
    echo "$first, $second: $made evaluations"
    ((made == $(sed -n 's/^made //p' "$work/whole.txt"))) &&
        diff <(grep records "$work/x86-64.txt") <(grep records "$work/$second.txt")
}
on_x86_64() { "$work/x86-64/$program" "$@"; }
on_s390x() { qemu-s390x -L /usr/s390x-linux-gnu "$work/s390x-linux-gnu/$program" "$@"; }
mkdir -p "$work/whole"
rm -f "$work"/whole/*
on_x86_64 "$work/whole" 0 >"$work/whole.txt"
for order in "on_x86_64 on_s390x" "on_s390x on_x86_64"; do
    if ! begin_and_finish $order; then
        echo "$order: a finished record differs" >&2
        failed=1
    fi
done

# Replaces the rows of the page's table.
sed 's/^\([a-z]*\) *\(.*\)/| \1 | `\2` |/' "$work/x86-64.txt" >"$work/table"
page=docs/bits.md
awk -v table="$work/table" '
    /^\| subsystem \| hash/ { print; getline; print; while ((getline row < table) > 0) print row; skip = 1; next }
    skip && /^\|/ { next }
    { skip = 0; print }' "$page" >"$work/page"
if [[ ${1:-} == --write ]]; then
    cp "$work/page" "$page"
elif ! diff -u "$page" "$work/page"; then
    echo "$page shows other results: scripts/bits.sh --write, if they are meant to change" >&2
    failed=1
fi
exit "$failed"
