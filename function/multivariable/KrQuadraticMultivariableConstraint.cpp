#include "function/multivariable/KrQuadraticMultivariableConstraint.h"

#include "foundation/math/internal/KrLanes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <typeinfo>

KR_SOURCE_VERSION;

namespace {

using Row = KrCoefficientIndex::Row;

KrTwo twoAt(double const* from) {
    KrTwo two;
    krLoad(two, from);
    return two;
}

// Adds what the row has to the sums of the gradient: to that of its own number,
// which by now has all of the rows before, and to those of its columns.
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

// The same for all rows below n, without a loop for each: rows of a few columns
// would spend their time on the ends of the loops.
void addEach(KrCoefficientIndex const& rows, KrU32 n, double const* x, double* sums) {
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

// Whether the rows from `r` on are four neighbours that begin on the diagonal and
// have all columns up to n.
bool isBlock(KrCoefficientIndex const& rows, std::size_t r, KrU32 n) {
    KrU32 const i = rows.rowNumber(r);
    if (i + 4 > n || r + 4 > rows.rowCount() || rows.rowNumber(r + 3) != i + 3) {
        return false;
    }
    for (KrU32 k = 0; k < 4; ++k) {
        Row const row = rows.row(r + k);
        if (row.firstColumn != i + k || !row.gapless || row.values.size() < n - i - k) {
            return false;
        }
    }
    return true;
}

// The same as `addRow` for the four rows of a block, whose sums do not wait for
// one another: two columns at a time, and for the rows' own sums two rows.
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

double KrQuadraticMultivariableConstraint::evaluate(KrRealVector const& x) const {
    if (goesByRows(x)) {
        return evaluateByRows(x);
    }
    KrU32 const n = static_cast<KrU32>(x.size());
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
    if (goesByRows(x)) {
        gradientByRows(x);
    } else {
        gradientByLookUps(x);
    }
    normalizeGradient();
    return gradient_;
}

// What stands left of the diagonal is stored in the rows above, that is side by
// side for neighbouring sums: so many of them go through those rows together. Every
// sum still gets its terms in the order of the columns.
void KrQuadraticMultivariableConstraint::gradientByLookUps(KrRealVector const& x) const {
    constexpr KrU32 together = 64;
    KrU32 const n = static_cast<KrU32>(x.size());
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

// Whether the look-ups are known to be this class's own, and there is enough to pass
// over.
bool KrQuadraticMultivariableConstraint::goesByRows(KrRealVector const& x) const {
    if (typeid(*this) != typeid(KrQuadraticMultivariableConstraint)) {
        first_.rows();  // has what was appended sorted in, ahead of many look-ups
        second_.rows();
        return false;
    }
    return !(first_.areFew() && second_.areFew() && x.size() <= 8);
}

// A coefficient 0.0 is passed over. Its term is a zero, which changes no sum but -0.0,
// unless a component is not finite: then it is NaN.
double KrQuadraticMultivariableConstraint::evaluateByRows(KrRealVector const& x) const {
    KrU32 const n = static_cast<KrU32>(x.size());
    KrCoefficientIndex const& second = second_.rows();
    Row const linear = first_.line(n);
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

// Whether no coefficient of a term with component `k` is 0.0. Most that have a zero have
// it early.
bool KrQuadraticMultivariableConstraint::hasEveryTermOf(KrU32 k, KrU32 n) const {
    bool hasEvery = firstOrderCoefficient(k) != 0.0;
    for (KrU32 i = 0; hasEvery && i < n; ++i) {
        hasEvery = secondOrderCoefficient(i, k) != 0.0;
    }
    return hasEvery;
}

// For finite components. Two components of one sign whose pair is not listed have the
// term +0.0, and of three components two have one sign: this ends after few more terms
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

// Each sum gets its terms in the order of their columns: the terms left of the
// diagonal, which are stored in the rows above, from those rows in their order,
// then the row's own.
void KrQuadraticMultivariableConstraint::gradientByRows(KrRealVector const& x) const {
    KrU32 const n = static_cast<KrU32>(x.size());
    KrCoefficientIndex const& second = second_.rows();
    std::fill(gradient_.begin(), gradient_.end(), 0.0);
    if (second.keys().size() < 8 * second.rowCount()) {
        addEach(second, n, x.data(), gradient_.data());
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
    first_.line(n).forEach([&](double a, std::size_t j) { gradient_[j] = a + gradient_[j]; });
    addTermsThatAreNaN(x);
}

// A component that is not finite makes NaN of every sum in which its coefficient is 0.0.
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
    std::vector<KrU32> found(n);  // of the others, those that a sum has a coefficient for
    KrCoefficientIndex const& second = second_.rows();
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

void KrQuadraticMultivariableConstraint::setFirstOrderCoefficient(KrU32 i, double value) {
    first_.setCoefficient(0, i, value);
}

void KrQuadraticMultivariableConstraint::setSecondOrderCoefficient(KrU32 i, KrU32 j, double value) {
    second_.setCoefficient(std::min(i, j), std::max(i, j), value);
}

void KrQuadraticMultivariableConstraint::registerComponents() {
    KrTaggedElement::registerComponents();
    registerComponent(KrFunction::KrOffsetToken, &offset_);
    registerComponent(KrFunction::KrFirstOrderIndicesToken, first_.indices());
    registerComponent(KrFunction::KrFirstOrderCoefficientsToken, first_.coefficients());
    registerComponent(KrFunction::KrSecondOrderIndexPairsToken, second_.indices());
    registerComponent(KrFunction::KrSecondOrderCoefficientsToken, second_.coefficients());
}

KrXmlComponentMap& KrQuadraticMultivariableConstraint::componentMap() {
    first_.dropIndex();
    second_.dropIndex();
    return KrTaggedElement::componentMap();
}
