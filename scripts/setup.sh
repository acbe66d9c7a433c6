#!/usr/bin/env bash
# Installs the Debian packages that building needs, if they are missing.
#
#   scripts/setup.sh demo         compiler, CMake, make, pkg-config, expat, Eigen, CLI11
#   scripts/setup.sh python       demo, and what the Python module is built with, by pip too
#   scripts/setup.sh test         python, and Ninja, GoogleTest, xmllint, SciPy, pytest, matplotlib,
#                                 mypy, locales, libpng for an example, and MPI
#   scripts/setup.sh checks       test, and the second compiler and the analysers
#   scripts/setup.sh benchmarks   demo, and Google Benchmark with the peers
#   scripts/setup.sh bits         demo, and compilers and emulators of other processors
#   scripts/setup.sh pictures     demo, and gnuplot
#
# Several groups may be given. `--list` before them prints the packages instead. A package counts as
# present if its program or library is found, such as a newer CMake on the PATH.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

packages=()
missing=()
optional=()

# need PACKAGE COMMAND...: the package is missing when the command fails.
need() {
    local package=$1
    shift
    packages+=("$package")
    "$@" >/dev/null 2>&1 || missing+=("$package")
}

# want PACKAGE COMMAND...: does the same for a package that not every release has.
want() {
    local package=$1
    shift
    packages+=("$package")
    "$@" >/dev/null 2>&1 || optional+=("$package")
}

# Debian's packages are for its own Python, which need not be the first on the PATH.
debian_python() { /usr/bin/python3 -c "$1"; }

program() { command -v "$1"; }
library() { pkg-config --exists "$1"; }

new_enough_cmake() {
    local version
    version=$(cmake --version | sed -n '1s/.* //p')
    printf '3.25\n%s\n' "$version" | sort -CV
}

# Any compiler of C++20 serves.
cpp20_compiler() { echo '#include <concepts>' | "${CXX:-c++}" -std=c++20 -x c++ -fsyntax-only -; }

# Clang's sanitizers are a separate package of the compiler's version.
clang_runtime() {
    local clang
    clang=$(command -v clang++-14 || command -v clang++)
    compgen -G "$("$clang" -print-resource-dir)/lib/*/libclang_rt.asan*"
}

need_demo() {
    need g++ cpp20_compiler
    need cmake new_enough_cmake
    need make program make
    need pkg-config program pkg-config
    need libexpat1-dev library expat
    need libcli11-dev library CLI11
    need libeigen3-dev library eigen3
}

need_python() {
    need_demo
    need python3 program python3
    need python3-dev debian_python \
        'import os, sysconfig; os.stat(sysconfig.get_paths()["include"] + "/Python.h")'
    need pybind11-dev test -d /usr/include/pybind11
    need python3-numpy debian_python 'import numpy'
    need python3-pip debian_python 'import pip'
    need python3-setuptools debian_python 'import setuptools'
    need python3-venv debian_python 'import ensurepip'
    need python3-wheel debian_python 'import wheel'
}

need_test() {
    need_python
    need ninja-build program ninja
    need libgtest-dev library gtest
    need libxml2-utils program xmllint
    need python3-scipy debian_python 'import scipy'
    need python3-pytest debian_python 'import pytest'
    need python3-matplotlib debian_python 'import matplotlib'
    need mypy debian_python 'import mypy'
    need locales test -e /usr/share/i18n/locales/de_DE
    need libpng-dev library libpng
    want libopenmpi-dev program mpicxx
    want openmpi-bin program mpiexec
}

need_checks() {
    need_test
    need clang eval 'program clang++-14 || program clang++'
    need clang-format eval 'program clang-format-14 || program clang-format'
    need clang-tidy eval 'program clang-tidy-14 || program clang-tidy'
    need cppcheck program cppcheck
    need gcovr program gcovr
    need doxygen program doxygen
    need lintian program lintian
    need dpkg-dev program dpkg-shlibdeps
    need fakeroot program fakeroot
    want libclang-rt-14-dev clang_runtime
}

need_benchmarks() {
    need_demo
    need libbenchmark-dev library benchmark
    need libgsl-dev library gsl
    need libnlopt-dev library nlopt
    need libboost-dev test -e /usr/include/boost/version.hpp
    need libfftw3-dev library fftw3
    want libalglib-dev test -e /usr/include/libalglib/interpolation.h
    want libnlopt-cxx-dev test -e /usr/include/nlopt.hpp
    want libopenturns-dev test -d /usr/include/openturns
    need_python
    want python3-scipy debian_python 'import scipy'
    want python3-nlopt debian_python 'import nlopt'
}

need_bits() {
    need_demo
    need dpkg-dev program dpkg-source
    need qemu-user program qemu-s390x
    local processor
    for processor in aarch64 s390x riscv64; do
        need "g++-$processor-linux-gnu" program "$processor-linux-gnu-g++"
    done
}

need_pictures() {
    need_demo
    need gnuplot-nox program gnuplot
}

list=false
if [[ ${1:-} == --list ]]; then
    list=true
    shift
fi
if (($# == 0)); then
    set -- demo
fi
for group in "$@"; do
    case $group in
        demo | python | test | checks | benchmarks | bits | pictures) "need_$group" ;;
        *)
            echo "usage: scripts/setup.sh [--list]" \
                "[demo|python|test|checks|benchmarks|bits|pictures]..." >&2
            exit 2
            ;;
    esac
done

if $list; then
    printf '%s\n' "${packages[@]}" | sort -u
    exit 0
fi
if ((${#missing[@]} + ${#optional[@]} == 0)); then
    exit 0
fi

if ! command -v apt-get >/dev/null; then
    if ((${#missing[@]} == 0)); then
        exit 0
    fi
    echo "Please install what these Debian packages hold: ${missing[*]}" >&2
    exit 1
fi

as_root=(env)
if ((EUID != 0)); then
    if ! command -v sudo >/dev/null; then
        echo "Please install as root: apt-get install ${missing[*]} ${optional[*]}" >&2
        exit 1
    fi
    as_root=(sudo env)
fi
apt=("${as_root[@]}" DEBIAN_FRONTEND=noninteractive apt-get -q)

# Missing optional packages do not cause an update of the lists: if the release does not have them,
# every run would update.
if ((${#missing[@]} > 0)); then
    quietly "${apt[@]}" update </dev/null
fi
for package in "${optional[@]}"; do
    if [[ -n $(apt-cache --quiet=2 madison "$package" 2>/dev/null) ]]; then
        missing+=("$package")
    fi
done
if ((${#missing[@]} > 0)); then
    mapfile -t missing < <(printf '%s\n' "${missing[@]}" | sort -u)
    echo "Installing ${missing[*]} ..."
    quietly "${apt[@]}" install -y --no-install-recommends "${missing[@]}" </dev/null
fi
