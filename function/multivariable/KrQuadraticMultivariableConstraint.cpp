#include "function/multivariable/KrQuadraticMultivariableConstraint.h"

#include "foundation/math/internal/KrLanes.h"
#include "function/multivariable/internal/KrSparseCoefficients.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <typeinfo>
#include <utility>

KR_SOURCE_VERSION;

namespace {

using Row = KrCoefficientIndex::Row;

KrTwo twoAt(double const* from) {
    KrTwo two;
    krLoad(two, from);
    return two;
}

// Adds the row's terms to the sums of the gradient: to the sum of its own number, which has
// all terms of the rows before, and to the sums of its columns.
void addRow(Row const& row, double const* x, double* sums) {
    std::size_t const i = row.number;
    double const xi = x[i];
    double sum = sums[i];
    row.forEach([&](double q, std::size_t j) {
        if (j == i) {
            sum = (q + q) * xi + sum;
        } else {
            sum = q * x[j] + sum;
            sums[j] = q * xi + sums[j];
        }
    });
    sums[i] = sum;
}

// `addRow` for all rows below n in one loop. If rows have few columns, the ends of a loop
// per row dominate: with 2.4 columns per row this takes 0.7 of the time, with one 0.4.
void addAllRows(KrCoefficientIndex const& rows, KrU32 n, double const* x, double* sums) {
    std::size_t const count = rows.keys().size();
    for (std::size_t place = 0; place < count; ++place) {
        KrCoefficientIndex::Key const key = rows.keys()[place];
        std::size_t const i = key >> 32;
        std::size_t const j = key & 0xffffffff;
        if (j >= n) {
            continue;  // i <= j
        }
        double const q = rows.coefficient(place);
        if (i == j) {
            sums[i] = (q + q) * x[i] + sums[i];
        } else {
            sums[i] = q * x[j] + sums[i];
            sums[j] = q * x[i] + sums[j];
        }
    }
}

// Whether the rows from `r` on are four neighbours, each with all columns from the diagonal
// to n.
bool isBlock(KrCoefficientIndex const& rows, std::size_t r, KrU32 n) {
    KrU32 const i = rows.rowNumber(r);
    if (i + 4 > n || r + 4 > rows.rowCount() || rows.rowNumber(r + 3) != i + 3) {
        return false;
    }
    for (KrU32 k = 0; k < 4; ++k) {
        Row const row = rows.row(r + k);
        if (row.firstColumn != i + k || !row.contiguous || row.values.size() < n - i - k) {
            return false;
        }
    }
    return true;
}

// `addRow` for the four rows of a block, two columns side by side, and two rows side by side
// for their own sums. The four sums are independent, so none waits for another. For a dense
// constraint of 100 or 1000 components this takes half the time.
void addBlock(KrCoefficientIndex const& rows, std::size_t r, std::size_t n, double const* x,
              double* sums) {
    std::size_t const i = rows.rowNumber(r);
    double const* q[4];
    KrTwo own[4];
    for (std::size_t k = 0; k < 4; ++k) {
        double const* const right = rows.row(r + k).values.data();  // from the diagonal on
        double const xk = x[i + k];
        double sum = (right[0] + right[0]) * xk + sums[i + k];
        for (std::size_t m = k + 1; m < 4; ++m) {
            sum = right[m - k] * x[i + m] + sum;
            sums[i + m] = right[m - k] * xk + sums[i + m];
        }
        sums[i + k] = sum;
        q[k] = right + (4 - k);
        own[k] = KrTwo{xk, xk};
    }
    std::size_t const begin = i + 4;
    KrTwo sums01 = twoAt(sums + i);
    KrTwo sums23 = twoAt(sums + i + 2);
    x += begin;
    double* const right = sums + begin;
    std::size_t const count = n - begin;
    std::size_t j = 0;
    for (; j + 1 < count; j += 2) {
        KrTwo const xs = twoAt(x + j);
        KrTwo const q0 = twoAt(q[0] + j);
        KrTwo const q1 = twoAt(q[1] + j);
        KrTwo const q2 = twoAt(q[2] + j);
        KrTwo const q3 = twoAt(q[3] + j);
        KrTwo sum = twoAt(right + j);
        sum = q0 * own[0] + sum;
        sum = q1 * own[1] + sum;
        sum = q2 * own[2] + sum;
        sum = q3 * own[3] + sum;
        std::memcpy(right + j, &sum, sizeof sum);
        KrTwo const p0 = q0 * xs;
        KrTwo const p1 = q1 * xs;
        KrTwo const p2 = q2 * xs;
        KrTwo const p3 = q3 * xs;
        sums01 = KrTwo{p0[0], p1[0]} + sums01;
        sums23 = KrTwo{p2[0], p3[0]} + sums23;
        sums01 = KrTwo{p0[1], p1[1]} + sums01;
        sums23 = KrTwo{p2[1], p3[1]} + sums23;
    }
    std::memcpy(sums + i, &sums01, sizeof sums01);
    std::memcpy(sums + i + 2, &sums23, sizeof sums23);
    if (j < count) {
        for (std::size_t k = 0; k < 4; ++k) {
            sums[i + k] = q[k][j] * x[j] + sums[i + k];
            right[j] = q[k][j] * own[k][0] + right[j];
        }
    }
}

}  // namespace

KrQuadraticMultivariableConstraint::KrQuadraticMultivariableConstraint() = default;

KrQuadraticMultivariableConstraint::KrQuadraticMultivariableConstraint(
    KrQuadraticMultivariableConstraint const&) = default;

KrQuadraticMultivariableConstraint::KrQuadraticMultivariableConstraint(
    KrQuadraticMultivariableConstraint&&) noexcept = default;

KrQuadraticMultivariableConstraint& KrQuadraticMultivariableConstraint::operator=(
    KrQuadraticMultivariableConstraint const&) = default;

KrQuadraticMultivariableConstraint& KrQuadraticMultivariableConstraint::operator=(
    KrQuadraticMultivariableConstraint&&) noexcept = default;

KrQuadraticMultivariableConstraint::~KrQuadraticMultivariableConstraint() = default;

// Adds the listed terms only. The others are zeros, which change only a sum of -0.0. If a
// component is not finite, they are NaN.
double KrQuadraticMultivariableConstraint::evaluate(KrRealVector const& x) const {
    if (typeid(*this) != typeid(KrQuadraticMultivariableConstraint)) {
        return evaluateByLookUps(x);
    }
    KrU32 const n = static_cast<KrU32>(x.size());
    KrCoefficientIndex const& second = secondRows();
    Row const linear = firstRows().line(n);
    for (KrU32 k = 0; k < n; ++k) {
        if (!std::isfinite(x[k]) && !hasEveryTermOf(k, n)) {
            return std::numeric_limits<double>::quiet_NaN();
        }
    }
    double v = offset();
    std::size_t next = 0;
    auto const addLinearBefore = [&](KrU32 end) {
        for (; next < linear.values.size() && linear.column(next) < end; ++next) {
            v = linear.values[next] * x[linear.column(next)] + v;
        }
    };
    for (std::size_t r = 0; r < second.rowCount() && second.rowNumber(r) < n; ++r) {
        Row const row = second.row(r).below(n);
        addLinearBefore(row.number);
        double const xi = x[row.number];
        row.forEach([&](double q, std::size_t j) { v = (q * xi) * x[j] + v; });
    }
    addLinearBefore(n);
    bool const isMinusZero = v == 0.0 && std::signbit(v);
    return isMinusZero && !everyTermIsMinusZero(x) ? 0.0 : v;
}

double KrQuadraticMultivariableConstraint::evaluateByLookUps(KrRealVector const& x) const {
    KrU32 const n = static_cast<KrU32>(x.size());
    firstRows();  // for quick look-ups: sorts in appended coefficients
    secondRows();
    double v = offset();
    for (KrU32 i = 0; i < n; ++i) {
        for (KrU32 j = i; j < n; ++j) {
            v = (secondOrderCoefficient(i, j) * x[i]) * x[j] + v;
        }
        v = firstOrderCoefficient(i) * x[i] + v;
    }
    return v;
}

KrRealVector const& KrQuadraticMultivariableConstraint::gradient(KrRealVector const& x) const {
    if (&x == &gradient_) {
        *point_ = x;
        return gradient(*point_);
    }
    KrU32 const n = static_cast<KrU32>(x.size());
    gradient_.resize(n);
    if (typeid(*this) == typeid(KrQuadraticMultivariableConstraint)) {
        gradientByRows(x);
    } else {
        gradientByLookUps(x);
    }
    normalizeGradient();
    return gradient_;
}

// Terms left of the diagonal are stored in the rows above, side by side for neighbouring
// sums. 64 sums therefore pass through these rows together, each in the order of the columns.
// For 100 components this takes 0.55 of the time that one sum after another takes.
void KrQuadraticMultivariableConstraint::gradientByLookUps(KrRealVector const& x) const {
    constexpr KrU32 together = 64;
    KrU32 const n = static_cast<KrU32>(x.size());
    firstRows();  // for quick look-ups: sorts in appended coefficients
    secondRows();
    double* const sums = gradient_.data();
    std::fill(gradient_.begin(), gradient_.end(), 0.0);
    for (KrU32 begin = 0, end; begin < n; begin = end) {
        end = begin + std::min(together, n - begin);
        for (KrU32 j = 0; j < begin; ++j) {
            double const xj = x[j];
            for (KrU32 i = begin; i < end; ++i) {
                sums[i] = secondOrderCoefficient(i, j) * xj + sums[i];
            }
        }
        for (KrU32 i = begin; i < end; ++i) {
            double sum = sums[i];
            for (KrU32 j = begin; j < i; ++j) {
                sum = secondOrderCoefficient(i, j) * x[j] + sum;
            }
            double const q = secondOrderCoefficient(i);
            sum = (q + q) * x[i] + sum;
            for (KrU32 j = i + 1; j < n; ++j) {
                sum = secondOrderCoefficient(i, j) * x[j] + sum;
            }
            sums[i] = firstOrderCoefficient(i) + sum;
        }
    }
}

// Whether no coefficient of a term with component `k` is 0.0.
bool KrQuadraticMultivariableConstraint::hasEveryTermOf(KrU32 k, KrU32 n) const {
    bool hasEvery = firstOrderCoefficient(k) != 0.0;
    for (KrU32 i = 0; hasEvery && i < n; ++i) {
        hasEvery = secondOrderCoefficient(i, k) != 0.0;
    }
    return hasEvery;
}

// Whether every term is -0.0, for finite components. Of three components two have one sign.
// If their pair is not listed, its term is +0.0. The loop therefore ends after few more terms
// than are listed.
bool KrQuadraticMultivariableConstraint::everyTermIsMinusZero(KrRealVector const& x) const {
    auto const isMinusZero = [](double term) { return term == 0.0 && std::signbit(term); };
    KrU32 const n = static_cast<KrU32>(x.size());
    for (KrU32 i = 0; i < n; ++i) {
        for (KrU32 j = i; j < n; ++j) {
            if (!isMinusZero((secondOrderCoefficient(i, j) * x[i]) * x[j])) {
                return false;
            }
        }
        if (!isMinusZero(firstOrderCoefficient(i) * x[i])) {
            return false;
        }
    }
    return true;
}

// Each sum gets its terms in the order of their columns: first the terms left of the
// diagonal, from the rows above in their order, then those of its own row.
void KrQuadraticMultivariableConstraint::gradientByRows(KrRealVector const& x) const {
    KrU32 const n = static_cast<KrU32>(x.size());
    KrCoefficientIndex const& second = secondRows();
    std::fill(gradient_.begin(), gradient_.end(), 0.0);
    // At 5 columns per row the one loop takes 0.95 of the time of the rows, at 10 1.4.
    if (second.keys().size() < 8 * second.rowCount()) {
        addAllRows(second, n, x.data(), gradient_.data());
    } else {
        for (std::size_t r = 0; r < second.rowCount() && second.rowNumber(r) < n;) {
            if (isBlock(second, r, n)) {
                addBlock(second, r, n, x.data(), gradient_.data());
                r += 4;
            } else {
                addRow(second.row(r++).below(n), x.data(), gradient_.data());
            }
        }
    }
    firstRows().line(n).forEach([&](double a, std::size_t j) { gradient_[j] = a + gradient_[j]; });
    addTermsThatAreNaN(x);
}

// Makes every sum NaN in which a component that is not finite has the coefficient 0.0.
void KrQuadraticMultivariableConstraint::addTermsThatAreNaN(KrRealVector const& x) const {
    auto const isOther = [&](std::size_t j) { return !std::isfinite(x[j]); };
    KrU32 const n = static_cast<KrU32>(x.size());
    KrU32 others = 0;
    for (KrU32 j = 0; j < n; ++j) {
        others += isOther(j);
    }
    if (others == 0) {
        return;
    }
    std::vector<KrU32> found(n);  // for each sum, how many of `others` have a coefficient
    KrCoefficientIndex const& second = secondRows();
    for (std::size_t place = 0; place < second.keys().size(); ++place) {
        std::size_t const i = second.keys()[place] >> 32;
        std::size_t const j = second.keys()[place] & 0xffffffff;
        if (j < n && second.coefficient(place) != 0.0) {
            found[i] += isOther(j);
            found[j] += i != j && isOther(i);
        }
    }
    for (KrU32 i = 0; i < n; ++i) {
        if (found[i] < others) {
            gradient_[i] = std::numeric_limits<double>::quiet_NaN();
        }
    }
}

double KrQuadraticMultivariableConstraint::firstOrderCoefficient(KrU32 i) const {
    return KrSparseCoefficients::coefficient(firstIndex_, firstIndices_, firstCoefficients_, 0, i);
}

void KrQuadraticMultivariableConstraint::setFirstOrderCoefficient(KrU32 i, double value) {
    KrSparseCoefficients::setCoefficient(firstIndex_, firstIndices_, firstCoefficients_, 0, i,
                                         value);
}

double KrQuadraticMultivariableConstraint::secondOrderCoefficient(KrU32 i, KrU32 j) const {
    KrU32 const row = std::min(i, j);
    KrU32 const column = i + j - row;  // the larger one, without a branch
    return KrSparseCoefficients::coefficient(secondIndex_, secondIndexPairs_, secondCoefficients_,
                                             row, column);
}

void KrQuadraticMultivariableConstraint::setSecondOrderCoefficient(KrU32 i, KrU32 j, double value) {
    KrSparseCoefficients::setCoefficient(secondIndex_, secondIndexPairs_, secondCoefficients_,
                                         std::min(i, j), std::max(i, j), value);
}

KrCoefficientIndex const& KrQuadraticMultivariableConstraint::firstRows() const {
    return KrSparseCoefficients::rows(firstIndex_, firstIndices_, firstCoefficients_);
}

KrCoefficientIndex const& KrQuadraticMultivariableConstraint::secondRows() const {
    return KrSparseCoefficients::rows(secondIndex_, secondIndexPairs_, secondCoefficients_);
}

void KrQuadraticMultivariableConstraint::registerComponents() {
    KrTaggedElement::registerComponents();
    registerComponent(KrFunction::KrOffsetToken, &offset_);
    registerComponent(KrFunction::KrFirstOrderIndicesToken, &firstIndices_);
    registerComponent(KrFunction::KrFirstOrderCoefficientsToken, &firstCoefficients_);
    registerComponent(KrFunction::KrSecondOrderIndexPairsToken, &secondIndexPairs_);
    registerComponent(KrFunction::KrSecondOrderCoefficientsToken, &secondCoefficients_);
}

KrXmlComponentMap& KrQuadraticMultivariableConstraint::componentMap() {
    firstIndex_.clear();
    secondIndex_.clear();
    return KrTaggedElement::componentMap();
}
