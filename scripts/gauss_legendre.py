#!/usr/bin/env python3
"""Writes the source file with the nodes and weights of the Gauss-Legendre rules.

    scripts/gauss_legendre.py > function/tools/KrGaussLegendreTables.cpp

The nodes of the rule of order n are the roots x of the Legendre polynomial P(n). The weights are
2 / ((1 - x^2) P'(n)(x)^2). The polynomials come from Bonnet's recurrence, the roots from Newton's
method, in decimal arithmetic of 60 digits, of which more than 50 are correct. Each value is rounded
once, to the nearest double, and written as the shortest text that reads back to it.
"""

import decimal
import math
from decimal import Decimal

decimal.getcontext().prec = 60

ORDERS = [*range(2, 21), 32, 64, 96, 100, 128]
VALUES_PER_LINE = 4

FILE = """\
// Written by scripts/gauss_legendre.py. Edit the script, not this file.

#include "function/tools/KrGaussQuadrature.h"

// clang-format off

KR_SOURCE_VERSION;

namespace {{

{arrays}
}}  // namespace

constinit KrGaussQuadrature::Rule const KrGaussQuadrature::rules_[{count}] = {{
{rows}}};
"""


def legendre(n, x):
    """P(n)(x) and its derivative; |x| < 1."""
    before, value = Decimal(1), x
    for k in range(1, n):
        before, value = value, ((2 * k + 1) * x * value - k * before) / (k + 1)
    return value, n * (before - x * value) / (1 - x * x)


def root(n, i):
    """The root of P(n) that is the i-th from above, i = 1, 2, ..."""
    x = Decimal(math.cos(math.pi * (i - 0.25) / (n + 0.5)))
    step = Decimal(1)
    while abs(step) > Decimal("1e-35"):  # the error is about its square
        value, slope = legendre(n, x)
        step = value / slope
        x -= step
    return x


def rule(n):
    """The nodes >= 0 in ascending order, and their weights."""
    nodes = [root(n, i) for i in range(n // 2, 0, -1)]
    if n % 2:
        nodes.insert(0, Decimal(0))
    return nodes, [2 / ((1 - x * x) * legendre(n, x)[1] ** 2) for x in nodes]


def array(name, values):
    texts = [repr(float(value)) for value in values]
    lines = [
        "    " + ", ".join(texts[i : i + VALUES_PER_LINE])
        for i in range(0, len(texts), VALUES_PER_LINE)
    ]
    return f"constexpr double {name}[] = {{\n" + ",\n".join(lines) + "};\n"


def main():
    arrays = []
    for n in ORDERS:
        nodes, weights = rule(n)
        arrays += [array(f"abscissas{n}", nodes), array(f"weights{n}", weights)]
    rows = ",\n".join(f"    {{{n}, abscissas{n}, weights{n}}}" for n in ORDERS)
    print(FILE.format(arrays="\n".join(arrays), count=len(ORDERS), rows=rows), end="")


if __name__ == "__main__":
    main()
