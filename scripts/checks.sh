#!/usr/bin/env bash
# Runs the slower checks: all of them, or those in the arguments:
#
#   scripts/checks.sh asan tidy
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

all=(format generated floors headers reference cppcheck static clang tidy asan tsan coverage fuzz
    bits hardening benchmarks packages demo commands)

# build_and_test PRESET [COMMAND...]: builds a preset and runs its tests, under the command if any.
build_and_test() {
    local preset=$1
    shift
    cmake --preset "$preset"
    cmake --build --preset "$preset"
    "$@" ctest --preset "$preset"
}

# python_of PRESET: the Python that its module is built for; nothing if it is built without.
python_of() {
    if [[ -d build/$1/python/CMakeFiles/zeibreku_python.dir ]]; then
        sed -n 's/^ZEIBREKU_PYTHON:FILEPATH=//p' "build/$1/CMakeCache.txt"
    fi
}

check_format() { scripts/format.sh --check; }

# Generated files are up to date.
check_generated() {
    scripts/gauss_legendre.py | diff -u function/tools/KrGaussLegendreTables.cpp -
}

# Includes go down or sideways in the floor table of CONTRIBUTING.md.
check_floors() { scripts/floors.py; }

# Each public header compiles alone in the source tree, and all of them compile together as
# installed. An include of a header that is not installed fails only there.
check_headers() {
    cmake --preset development
    cmake --build --preset development
    cmake --build --preset development --target all_verify_interface_header_sets

    local prefix=$PWD/build/headers/prefix
    rm -rf "$prefix"
    cmake --install build/development --prefix "$prefix" >/dev/null
    (cd "$prefix/include/zeibreku" && find . -name '*.h' | sort |
        sed 's|^\./\(.*\)|#include "\1"|') >build/headers/all.cpp
    echo "Compiling $(wc -l <build/headers/all.cpp) installed headers"
    local flags
    read -ra flags < <(PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name zeibreku.pc)") \
        pkg-config --cflags zeibreku)
    local compiler=${CXX:-c++}
    if [[ -e $prefix/include/zeibreku/mpi ]]; then
        compiler=mpicxx
        flags+=(-DOMPI_SKIP_MPICXX -DMPICH_SKIP_MPICXX)  # its old C++ operations have warnings
    fi
    "$compiler" -std=c++20 -Wall -Wextra -Werror -fsyntax-only "${flags[@]}" build/headers/all.cpp
}

# Every public class and operation is described. Doxygen warns of a missing description, but not of
# a class that it overlooks.
check_reference() {
    cmake --preset development
    rm -rf build/development/reference
    cmake --build --preset development --target reference
    local class missing=()
    for class in $(sed -n 's/^class KR_EXPORT \(Kr[[:alnum:]]*\)\($\| [:{].*\)/\1/p' */*/*.h search/*.h mpi/*.h); do
        test -e "build/development/reference/html/class$class.html" || missing+=("$class")
    done
    if ((${#missing[@]} > 0)); then
        echo "The reference lacks ${missing[*]}" >&2
        return 1
    fi
}

check_cppcheck() {
    # Cppcheck has no standard headers; the compilers check what depends on them. operatorEqVarError
    # is off, since assignments keep working state and containers on purpose.
    cppcheck --quiet --error-exitcode=1 --std=c++20 --language=c++ -j "$jobs" -I . \
        --enable=warning,performance,portability --inline-suppr \
        --suppress=missingInclude --suppress=missingIncludeSystem \
        --suppress=unknownMacro --suppress=internalAstError \
        --suppress=operatorEqVarError \
        -D__attribute__\(x\)= \
        foundation function search mpi program python examples
}

check_static() { build_and_test static; }

check_clang() { build_and_test clang; }

check_tidy() {
    cmake --preset clang
    # One file for each process keeps all cores busy. The count of suppressed warnings is dropped.
    find foundation function search mpi program python -name '*.cpp' -print0 | sort -z |
        xargs -0 -r -n 1 -P "$jobs" "$(first_of clang-tidy-14 clang-tidy)" \
            -p build/clang --quiet 2>&1 |
        sed '/warnings\{0,1\} generated\.$/d'
}

check_asan() { build_and_test asan; }

# Without the Python module: Python's own atomic operations, which the thread sanitizer cannot see,
# order what its threads do.
check_tsan() {
    # The thread sanitizer needs fixed addresses for its shadow memory. It fails if the kernel
    # randomises mappings widely.
    local fixed_addresses=()
    if setarch -R true 2>/dev/null; then
        fixed_addresses=(setarch -R)
    fi
    build_and_test tsan "${fixed_addresses[@]}"
}

# The tests reach all of the reader, whose input is untrusted, and 95 % of the rest.
check_coverage() {
    cmake --preset coverage
    find build/coverage -name '*.gcda' -delete  # from an earlier build
    cmake --build --preset coverage
    ctest --preset coverage
    local gcovr=(gcovr --root . --object-directory build/coverage --exclude-unreachable-branches)
    "${gcovr[@]}" --filter foundation/ --filter function/ --filter search/ --filter mpi/ \
        --filter program/ --filter python/ --fail-under-line 95 build/coverage
    "${gcovr[@]}" --filter foundation/xml/KrXmlReader.cpp --fail-under-line 100 build/coverage
}

# Takes about a minute. The seed makes it repeatable.
check_fuzz() {
    rm -rf build/fuzz/corpus
    ZEIBREKU_FUZZ_SEED=1 scripts/fuzz.sh 200000
}

# Results are bit-identical on other processors, and every test passes if the C library does not use
# fused multiply-add.
check_bits() {
    scripts/bits.sh
    cmake --preset development
    cmake --build --preset development
    GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-FMA,-FMA4,-AVX2_Usable,-FMA_Usable \
        ctest --preset development
}

# The libraries and the program have the protections of cmake/Hardening.cmake.
check_hardening() {
    local libraries=(build/release/{foundation/libkrfoundation,function/libzeibreku}.so
        build/release/search/libkrsearch.so build/release/program/zeibreku)
    local targets=(zeibreku_program)
    cmake --preset release
    if [[ -d build/release/mpi/CMakeFiles/krmpi.dir ]]; then
        libraries+=(build/release/mpi/libkrmpi.so build/release/program/zeibreku-mpi)
        targets+=(zeibreku_mpi_program)
    fi
    if [[ -n $(python_of release) ]]; then
        targets+=(zeibreku_python)
    fi
    cmake --build --preset release --target "${targets[@]}"
    if [[ -n $(python_of release) ]]; then
        libraries+=(build/release/python/zeibreku/_core*.so)
    fi
    local library missing=0
    # has NAME PATTERN COMMAND...: the output of the command for the library matches the pattern.
    has() {
        local name=$1 pattern=$2
        shift 2
        if ! grep -qE "$pattern" <("$@" "$library"); then
            echo "$library lacks $name" >&2
            missing=1
        fi
    }
    for library in "${libraries[@]}"; do
        has "read-only relocations" GNU_RELRO readelf -lW
        has "binding when it is loaded" 'FLAGS.*BIND_NOW' readelf -dW
        has "the stack protector" __stack_chk_fail readelf -sW
        if [[ $library == *krfoundation* ]]; then
            has "checks of sizes" '__[a-z]+printf_chk' readelf -sW
        fi
        if [[ $(uname -m) == x86_64 ]]; then
            has "the mark of the shadow stack" SHSTK readelf -nW
        fi
        ! grep -q 'GNU_STACK.*RWE' <(readelf -lW "$library") || missing=1
    done
    return "$missing"
}

# The benchmarks run. Their figures are not checked, since other builds disturb them.
check_benchmarks() {
    cmake --preset release
    cmake --build --preset release --target benchmarks
    local source name
    for source in benchmarks/*.cpp; do
        if [[ -e $source ]]; then
            name=$(basename "$source" .cpp)
            "build/release/benchmarks/$name" --benchmark_min_time=0.01
        fi
    done
    benchmarks/scipy_peer.py
    for name in bounded constrained; do
        benchmarks/scipy_peer.py "build/release/benchmarks/$name"
    done
    local python
    python=$(python_of release)
    if [[ -n $python ]] && "$python" -c 'import nlopt, scipy'; then
        cmake --build --preset release --target zeibreku_python
        for source in benchmarks/python_*.py; do
            PYTHONPATH=build/release/python "$python" "$source" 1
        done
    fi
}

# check_python_package ROOT: the package of the module has all its files and dependencies, and the
# installed module, with the installed libraries, searches and prints its documentation.
check_python_package() {
    local package python files depends name
    package=$(echo build/package/python3-zeibreku_*.deb)
    python=$(python_of package)
    files=$(dpkg-deb --fsys-tarfile "$package" | tar -tf - | sed -n 's|.*/dist-packages/\(.*[^/]\)$|\1|p')
    diff <(sort <<<"$files") <(
        cd build/package/python && find zeibreku -type f -not -name '*.pyc' | sort
    )
    depends=$(dpkg-deb --field "$package" Depends)
    for name in 'libzeibreku[0-9]+ \(= ' 'python3 \(>= ' 'python3 \(<< ' python3-numpy libc6 libstdc; do
        if ! grep -qE "(^|, )$name" <<<"$depends"; then
            echo "$package does not depend on $name: $depends" >&2
            return 1
        fi
    done
    (
        export PYTHONPATH=$1/usr/lib/python3/dist-packages PYTHONDONTWRITEBYTECODE=1
        cd /
        "$python" -c '
import os, pydoc, sys, zeibreku
assert zeibreku.__file__.startswith(sys.argv[1])
found = zeibreku.minimize(lambda x: (x[0] - 1) ** 2, [3.0])
assert found.success and abs(found.x[0] - 1) < 1e-3
libraries = {line.split()[-1] for line in open("/proc/self/maps") if "/libzeibreku" in line}
assert len(libraries) == 1 and libraries.pop().startswith(os.path.realpath(sys.argv[1]))
assert "minimize(fun, x0" in pydoc.render_doc(zeibreku, renderer=pydoc.plaintext)
' "$1"
    )
}

# The Debian packages build, pass lintian, and work after dpkg installs them into a separate root.
check_packages() {
    local build=$PWD/build/package
    cmake --preset package
    cmake --build --preset package
    rm -f "$build"/*.deb
    cpack --preset package
    lintian --allow-root --fail-on error "$build"/*.deb

    local root=$build/root
    rm -rf "$root" "$build/consumer"
    mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates" "$root/var/log"
    touch "$root/var/lib/dpkg/status"
    # The separate root lacks the packages' dependencies, which the system provides.
    PATH=$PATH:/usr/sbin:/sbin fakeroot dpkg --root="$root" -i \
        --ignore-depends=libc6,libexpat1,libgcc-s1,libstdc++6 \
        --ignore-depends=libopenmpi3,libopenmpi-dev,libmpich12,libmpich-dev \
        --ignore-depends=python3,python3-numpy "$build"/*.deb

    local libraries flags
    libraries=$(dirname "$(dirname "$(find "$root" -name zeibreku.pc)")")
    export LD_LIBRARY_PATH=$libraries
    cmake -S tests/consumer -B "$build/consumer" -D CMAKE_PREFIX_PATH="$root/usr" -D shared=ON
    cmake --build "$build/consumer"
    "$build/consumer/consumer"
    if [[ -e $libraries/libkrmpi.so ]]; then
        cmake -S tests/consumer -B "$build/consumer" -D mpi=ON
        cmake --build "$build/consumer"
        "$build/consumer/ranks"
        read -ra flags < <(PKG_CONFIG_PATH=$libraries/pkgconfig \
            pkg-config --cflags --libs zeibreku-mpi)
        mpicxx -std=c++20 tests/consumer/ranks.cpp -o "$build/consumer/ranks" "${flags[@]}"
        "$build/consumer/ranks"
        "$root/usr/bin/zeibreku-mpi" check examples/09_fit/search.xml
    fi
    cmake -D compiler="${CXX:-c++}" -D pkg_config=pkg-config -D libdir="$libraries" \
        -D source=tests/consumer/main.cpp -D program="$build/consumer/by_pkg_config" \
        -P tests/consumer/pkg_config.cmake
    if [[ -n $(python_of package) ]]; then
        check_python_package "$root"
    fi
    test -e "$root/usr/share/zeibreku/zeibreku.xsd"
    "$root/usr/bin/zeibreku" check examples/09_fit/search.xml

    # The targets of all links in the documentation are installed too.
    find "$root/usr/share/doc/libzeibreku-doc" -name '*.md' -print0 |
        xargs -0 awk -f tests/docs/links.awk
}

check_demo() { scripts/demo.sh; }

# The commands of the README and the guide work with a newcomer's packages.
check_commands() { scripts/commands.sh; }

for name in "$@"; do
    if ! declare -F "check_$name" >/dev/null; then
        echo "There is no check '$name'; there are: ${all[*]}" >&2
        exit 2
    fi
done

if (($# == 1)); then
    if [[ -z ${ZEIBREKU_CHECKS_SET_UP:-} ]]; then
        set_up checks benchmarks
    fi
    "check_$1"
    exit
fi

# Each check runs in its own shell, so that its first failure does not end the others.
set_up checks benchmarks
export ZEIBREKU_CHECKS_SET_UP=1
if (($# == 0)); then
    set -- "${all[@]}"
fi
results=()
passed=0
failed=0
for name in "$@"; do
    printf '\n==== %s\n' "$name"
    SECONDS=0
    if scripts/checks.sh "$name" </dev/null; then
        results+=("$(printf '%-12s passed %5d s' "$name" "$SECONDS")")
        passed=$((passed + 1))
    else
        results+=("$(printf '%-12s FAILED %5d s' "$name" "$SECONDS")")
        failed=$((failed + 1))
    fi
done
printf '\n'
printf '%s\n' "${results[@]}"
echo "checks: $passed passed, $failed failed"
((failed == 0))
